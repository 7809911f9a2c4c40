#include "errors.h"

#include <cstring>
#include <exception>

#include "dataprocessing/dataprocessing.h"

namespace dataprocessing::python {

namespace py = pybind11;

namespace {

// Classes live as long as the process: an exception may be translated while modules go.
struct sClasses {
    PyObject* base;
    PyObject* program;
    PyObject* data;
    PyObject* divisionByZero;
    PyObject* fit;
    PyObject* singularFit;
    PyObject* index;
    PyObject* size;
    PyObject* unit;
    PyObject* alignment;
};

sClasses classes;

PyObject* define(py::module_& module, const char* name, const char* docstring,
                 const py::tuple& bases) {
    const std::string qualified = std::string("dataprocessing.") + name;
    PyObject* made = PyErr_NewExceptionWithDoc(qualified.c_str(), docstring, bases.ptr(), nullptr);
    if (made == nullptr)
        throw py::error_already_set();
    module.add_object(name, py::reinterpret_borrow<py::object>(made));
    return made;
}

void raise(PyObject* type, const expt_cProgramException& error, const char* message) {
    const py::object exception = py::handle(type)(py::str(error.what()));
    exception.attr("unit") = error.SourceFile().Text();
    exception.attr("line") = error.Line();
    exception.attr("message") = message;
    PyErr_SetObject(type, exception.ptr());
}

const char* messageOf(const expt_cProgramException& error) {
    const char* text = error.what();
    const char* behind = std::strstr(text, ": ");
    return behind == nullptr ? "" : behind + 2;
}

void translate(
    std::exception_ptr pointer) // NOLINT(performance-unnecessary-value-param): asked for so
{
    try {
        if (pointer)
            std::rethrow_exception(pointer);
    } catch (const gsft_cFitException& error) {
        raise(classes.fit, error, messageOf(error));
    } catch (const rcps_cRecipesException& error) {
        raise(classes.singularFit, error, messageOf(error));
    } catch (const expt_cUserException& error) {
        const bool byZero = std::strcmp(error.Message().Text(), expt_DivideByZero) == 0;
        raise(byZero ? classes.divisionByZero : classes.data, error, messageOf(error));
    } catch (const arr_cIndexException& error) {
        raise(classes.index, error, messageOf(error));
    } catch (const arr_cSizeException& error) {
        raise(classes.size, error, messageOf(error));
    } catch (const expt_cProgramException& error) {
        raise(classes.program, error, messageOf(error));
    }
}

/// How many frames up the program is that called into this package: 1 is the innermost one, and an
/// operator has none of its own.
py::ssize_t levelOfCaller() {
    const std::string package = "dataprocessing";
    py::ssize_t level = 1;
    auto frame = py::reinterpret_steal<py::object>(
        reinterpret_cast<PyObject*>(PyThreadState_GetFrame(PyThreadState_Get())));
    for (; frame && !frame.is_none(); frame = frame.attr("f_back"), ++level) {
        const std::string module = py::str(frame.attr("f_globals").attr("get")("__name__", ""));
        if (module != package && module.compare(0, package.size() + 1, package + '.') != 0)
            return level;
    }
    return 1;
}

} // namespace

void registerErrors(py::module_& module) {
    const auto bases = [](auto... types) { return py::make_tuple(py::handle(types)...); };
    classes.base = define(module, "DataProcessingError",
                          "An error of the library: `unit` and `line` name the place that refused, "
                          "`message` says why.",
                          bases(PyExc_Exception));
    // Of errors that Python raises without saying more.
    const py::handle base(classes.base);
    base.attr("unit") = "";
    base.attr("line") = 0;
    base.attr("message") = "";
    classes.program = define(module, "ProgramError", "A misuse that the caller could have avoided.",
                             bases(classes.base, PyExc_ValueError));
    classes.data = define(module, "DataError", "An operation that the data do not allow.",
                          bases(classes.base, PyExc_ValueError));
    classes.divisionByZero =
        define(module, "DivisionByZeroError", "A divisor that is zero, or has an element that is.",
               bases(classes.data, PyExc_ZeroDivisionError));
    classes.fit =
        define(module, "FitError", "A fit that failed for the data given.", bases(classes.base));
    classes.singularFit =
        define(module, "SingularFitError", "Data that cannot tell the parameters of a fit apart.",
               bases(classes.fit));
    classes.index =
        define(module, "IndexOutOfRangeError", "An index or a position outside its array.",
               bases(classes.base, PyExc_IndexError));
    classes.size =
        define(module, "SizeError", "A size that no array can have, or sizes that do not fit.",
               bases(classes.base, PyExc_ValueError));
    classes.unit = define(module, "UnitError", "Two different units in one operation.",
                          bases(PyExc_ValueError));
    classes.alignment = define(module, "AlignmentWarning",
                               "Axes that are brought together, though this may not be meant.",
                               bases(PyExc_UserWarning));
    py::register_local_exception_translator(translate);
}

void throwUnitError(const std::string& text) {
    PyErr_SetString(classes.unit, text.c_str());
    throw py::error_already_set();
}

void warnOfAlignment(const std::string& text) {
    if (PyErr_WarnEx(classes.alignment, text.c_str(), levelOfCaller()) != 0)
        throw py::error_already_set();
}

} // namespace dataprocessing::python
