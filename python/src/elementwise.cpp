#include "alignment.h"
#include "arithmetic.h"
#include "axis.h"
#include "functions.h"
#include "gil.h"
#include "instances.h"
#include "number_argument.h"

namespace dataprocessing::python {

namespace py = pybind11;

namespace {

constexpr double transcendental = 20; // ns an element

template<class A, class Mask>
void defineBinary(py::module_& module) {
    module.def("bnry_operate", [](bnry_eAritBinaryOperation o, const A& a, const A& b) {
        const cWithoutGil released(static_cast<long long>(a.Count()) + b.Count());
        return like<A>(a, bnry_Operate(o, a.values, b.values), cLabels());
    });
    module.def("bnry_operate", [](bnry_eAritBinaryOperation o, const A& a, const sNumber& b) {
        const cWithoutGil released(a.Count());
        return like<A>(a, bnry_Operate(o, a.values, b.value), cLabels());
    });
    module.def("bnry_operate", [](bnry_eAritBinaryOperation o, const sNumber& a, const A& b) {
        const cWithoutGil released(b.Count());
        return like<A>(b, bnry_Operate(o, a.value, b.values), cLabels());
    });
    module.def("bnry_operate", [](bnry_eCompBinaryOperation o, const A& a, const A& b) {
        const cWithoutGil released(static_cast<long long>(a.Count()) + b.Count());
        return Mask{bnry_Operate(o, a.values, b.values), {}, {}};
    });
    module.def("bnry_operate", [](bnry_eCompBinaryOperation o, const A& a, const sNumber& b) {
        const cWithoutGil released(a.Count());
        return Mask{bnry_Operate(o, a.values, b.value), {}, {}};
    });
    module.def("bnry_operate", [](bnry_eCompBinaryOperation o, const sNumber& a, const A& b) {
        const cWithoutGil released(b.Count());
        return Mask{bnry_Operate(o, a.value, b.values), {}, {}};
    });
    module.def("bnry_and", [](const Mask& a, const Mask& b) {
        const cWithoutGil released(a.Count());
        return like<Mask>(a, a.values & b.values, cLabels());
    });
    module.def("bnry_or", [](const Mask& a, const Mask& b) {
        const cWithoutGil released(a.Count());
        return like<Mask>(a, a.values || b.values, cLabels());
    });
    module.def("bnry_not", [](const Mask& a) {
        const cWithoutGil released(a.Count());
        return like<Mask>(a, !a.values, cLabels());
    });
}

template<class A, class Mask>
void defineTernary(py::module_& module) {
    module.def("tnry_ternary", [](const Mask& m, const A& a, const A& b) {
        const cWithoutGil released(m.Count());
        return like<A>(m, tnry_Ternary(m.values, a.values, b.values), cLabels());
    });
    module.def("tnry_ternary", [](const Mask& m, const A& a, const sNumber& b) {
        const cWithoutGil released(m.Count());
        return like<A>(m, tnry_Ternary(m.values, a.values, b.value), cLabels());
    });
    module.def("tnry_ternary", [](const Mask& m, const sNumber& a, const A& b) {
        const cWithoutGil released(m.Count());
        return like<A>(m, tnry_Ternary(m.values, a.value, b.values), cLabels());
    });
    module.def("tnry_ternary", [](const Mask& m, const sNumber& a, const sNumber& b) {
        const cWithoutGil released(m.Count());
        return like<A>(m, tnry_Ternary(m.values, a.value, b.value), cLabels());
    });
    const auto extreme = [&](const char* name, auto function) {
        module.def(name, [=](const A& a, const A& b) {
            const cWithoutGil released(static_cast<long long>(a.Count()) + b.Count());
            return like<A>(a, function(a.values, b.values), cLabels());
        });
        module.def(name, [=](const A& a, const sNumber& b) {
            const cWithoutGil released(a.Count());
            return like<A>(a, function(a.values, b.value), cLabels());
        });
        module.def(name, [=](const sNumber& a, const A& b) {
            const cWithoutGil released(b.Count());
            return like<A>(b, function(a.value, b.values), cLabels());
        });
    };
    extreme("trny_min", [](const auto& a, const auto& b) { return trny_min(a, b); });
    extreme("trny_max", [](const auto& a, const auto& b) { return trny_max(a, b); });
}

template<class A, class B>
void defineMeeting(py::module_& module) {
    module.def(
        "same_grid", [](const A& a, const B& b) { return haveSameGrid(a, b); },
        "Whether elements of equal index lie at equal positions, and there are equally many.");
    module.def(
        "check_axes",
        [](const A& a, const B& b) {
            checkAxes(a, b);
            for (int axis = 0; axis < A::dimensions; ++axis)
                mergedAxis(a.axes[axis], b.axes[axis]);
        },
        "Warns and refuses as an operator does where both are to meet.");
    module.def(
        "take_axes",
        [](A& to, const B& from) {
            for (int axis = 0; axis < A::dimensions; ++axis)
                to.axes[axis] = mergedAxis(to.axes[axis], from.axes[axis]);
        },
        "Adds the words of the axes that only the other one has.");
}

template<class A, class Mask>
void defineMeetings(py::module_& module) {
    defineMeeting<A, A>(module);
    defineMeeting<A, Mask>(module);
    defineMeeting<Mask, A>(module);
    defineMeeting<Mask, Mask>(module);
    module.def(
        "check_units", [](const A& a, const A& b) { mergedValues(a.labels, b.labels); },
        "UnitError for values in two different units.");
    module.def(
        "take_labels",
        [](A& to, const A& a, const A& b) {
            to.labels = mergedValues(a.labels, b.labels);
            for (int axis = 0; axis < A::dimensions; ++axis)
                to.axes[axis] = mergedAxis(a.axes[axis], b.axes[axis]);
        },
        "Gives the words that a result of both has whose quantity stays.");
}

struct sNamed {
    const char* name;
    unry_eMathUnaryOperation operation;
};
constexpr sNamed functions[] = {
    {"abs", unry_Abs},   {"acos", unry_Acos},   {"asin", unry_Asin}, {"atan", unry_Atan},
    {"cos", unry_Cos},   {"cosh", unry_Cosh},   {"exp", unry_Exp},   {"log", unry_Log},
    {"sin", unry_Sin},   {"log10", unry_Log10}, {"sinh", unry_Sinh}, {"sqr", unry_Sqr},
    {"sqrt", unry_Sqrt}, {"tan", unry_Tan},     {"tanh", unry_Tanh}, {"real", unry_Real},
    {"imag", unry_Imag}, {"norm", unry_Norm},   {"arg", unry_Arg},   {"conj", unry_Conj}};

template<class A>
A applied(unry_eMathUnaryOperation operation, const A& a) {
    const cWithoutGil released(a.Count(), transcendental);
    return like<A>(a, unry_Operate(operation, a.values), cLabels());
}

template<class A>
void definePower(py::module_& module) {
    const char* const name = "pow";
    module.def(name, [](const A& a, const A& b) {
        const cWithoutGil released(static_cast<long long>(a.Count()) + b.Count(), transcendental);
        return like<A>(a, pow(a.values, b.values), cLabels());
    });
    module.def(name, [](const A& a, const sNumber& b) {
        const cWithoutGil released(a.Count(), transcendental);
        return like<A>(a, pow(a.values, b.value), cLabels());
    });
    module.def(name, [](const sNumber& a, const A& b) {
        const cWithoutGil released(b.Count(), transcendental);
        return like<A>(b, pow(a.value, b.values), cLabels());
    });
}

template<class A>
void defineUnary(py::module_& module) {
    module.def("unry_operate", &applied<A>);
    for (const sNamed& function : functions)
        module.def(function.name,
                   [operation = function.operation](const A& a) { return applied(operation, a); });
    definePower<A>(module);
    const auto scan = [&](const char* name, auto function) {
        module.def(name, [=](const A& a) {
            const cWithoutGil released(a.Count());
            return static_cast<bool>(function(a.values));
        });
    };
    scan("scan_is_zero", [](const auto& a) { return scan_IsZero(a); });
    scan("scan_is_zero_or_negative", [](const auto& a) { return scan_IsZeroOrNegative(a); });
    scan("scan_is_negative", [](const auto& a) { return scan_IsNegative(a); });
    scan("scan_is_abs_larger_than_unity",
         [](const auto& a) { return scan_IsAbsLargerThanUnity(a); });
    module.def(
        "exactly_floating",
        [](const A& a) {
            const cWithoutGil released(a.Count());
            return exactlyFloating(a);
        },
        "The array in a floating type that holds its elements: 32-bit integers as float64.");
}

void defineNumbers(py::module_& module) {
    module.def("bnry_operate", [](bnry_eAritBinaryOperation o, const sNumber& a, const sNumber& b) {
        return sNumber{bnry_Operate(o, a.value, b.value)};
    });
    module.def("bnry_operate", [](bnry_eCompBinaryOperation o, const sNumber& a, const sNumber& b) {
        return static_cast<bool>(bnry_Operate(o, a.value, b.value));
    });
    module.def("unry_operate", [](unry_eMathUnaryOperation o, const sNumber& a) {
        return sNumber{unry_Operate(o, a.value)};
    });
    for (const sNamed& function : functions)
        module.def(function.name, [operation = function.operation](const sNumber& a) {
            return sNumber{unry_Operate(operation, a.value)};
        });
    module.def("pow",
               [](const sNumber& a, const sNumber& b) { return sNumber{pow(a.value, b.value)}; });
    module.def("tnry_ternary", [](bool condition, const sNumber& a, const sNumber& b) {
        return sNumber{tnry_Ternary(type_cBoolean(condition), a.value, b.value)};
    });
    module.def("trny_min", [](const sNumber& a, const sNumber& b) {
        return sNumber{trny_min(a.value, b.value)};
    });
    module.def("trny_max", [](const sNumber& a, const sNumber& b) {
        return sNumber{trny_max(a.value, b.value)};
    });
    module.def("scan_is_zero",
               [](const sNumber& a) { return static_cast<bool>(scan_IsZero(a.value)); });
    module.def("scan_is_zero_or_negative",
               [](const sNumber& a) { return static_cast<bool>(scan_IsZeroOrNegative(a.value)); });
    module.def("scan_is_negative",
               [](const sNumber& a) { return static_cast<bool>(scan_IsNegative(a.value)); });
    module.def("scan_is_abs_larger_than_unity", [](const sNumber& a) {
        return static_cast<bool>(scan_IsAbsLargerThanUnity(a.value));
    });
    module.def(
        "number_dtype",
        [](const py::object& number, const py::object& beside) -> py::object {
            pnum_cNumber value;
            if (weakNumber(number.ptr(), requestedType(beside), value) ||
                strongNumber(number.ptr(), value))
                return dtypeOf(value.DataType());
            return py::none();
        },
        "The element type of a number beside an array of a type; None for what is no number.");
    module.def(
        "common_dtype",
        [](const py::object& a, const py::object& b) {
            return dtypeOf(commonType(requestedType(a), requestedType(b)));
        },
        "The element type in which values of both types can be compared without a loss.");
    module.def("bnry_result_type",
               [](const py::object& a, const py::object& b, bnry_eAritBinaryOperation o) {
                   return dtypeOf(bnry_ResultType(requestedType(a), requestedType(b), o));
               });
}

} // namespace

void registerElementwise(py::module_& module) {
    py::enum_<bnry_eAritBinaryOperation>(module, "Arithmetic", py::module_local())
        .value("ADD", bnry_Add)
        .value("SUBTRACT", bnry_Subtract)
        .value("MULTIPLY", bnry_Multiply)
        .value("DIVIDE", bnry_Divide)
        .value("POWER", bnry_Power);
    py::enum_<bnry_eCompBinaryOperation>(module, "Comparison", py::module_local())
        .value("EQUAL", bnry_Equal)
        .value("NOT_EQUAL", bnry_NotEqual)
        .value("GREATER", bnry_Greater)
        .value("GREATER_EQUAL", bnry_GreaterEqual)
        .value("LESS", bnry_Less)
        .value("LESS_EQUAL", bnry_LessEqual);
    py::enum_<unry_eMathUnaryOperation>(module, "Function", py::module_local())
        .value("PLUS", unry_Plus)
        .value("NEGATE", unry_Negate)
        .value("ABS", unry_Abs)
        .value("ACOS", unry_Acos)
        .value("ASIN", unry_Asin)
        .value("ATAN", unry_Atan)
        .value("COS", unry_Cos)
        .value("COSH", unry_Cosh)
        .value("EXP", unry_Exp)
        .value("LOG", unry_Log)
        .value("LOG10", unry_Log10)
        .value("SIN", unry_Sin)
        .value("SINH", unry_Sinh)
        .value("SQR", unry_Sqr)
        .value("SQRT", unry_Sqrt)
        .value("TAN", unry_Tan)
        .value("TANH", unry_Tanh)
        .value("REAL", unry_Real)
        .value("IMAG", unry_Imag)
        .value("NORM", unry_Norm)
        .value("ARG", unry_Arg)
        .value("CONJ", unry_Conj);
    defineBinary<sArray1D, sMask1D>(module);
    defineBinary<sArray2D, sMask2D>(module);
    defineMeetings<sArray1D, sMask1D>(module);
    defineMeetings<sArray2D, sMask2D>(module);
    defineTernary<sArray1D, sMask1D>(module);
    defineTernary<sArray2D, sMask2D>(module);
    defineUnary<sArray1D>(module);
    defineUnary<sArray2D>(module);
    defineNumbers(module);
}

} // namespace dataprocessing::python
