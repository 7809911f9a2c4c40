// Messages: receivers call Python functions.

#include "functions.h"
#include "instances.h"

namespace dataprocessing::python {

namespace py = pybind11;

namespace {

/// Calls `function(id)` for each message.
class cReceiver : public mesg_cReceiver {
public:
    explicit cReceiver(py::object function) : function_(std::move(function)) {}
    cReceiver(const cReceiver&) = delete;
    cReceiver& operator=(const cReceiver&) = delete;
    ~cReceiver() override { LeaveAll(); }

    void ReceiveMessage(unsigned long id, mesg_cSender&, mesg_sMessageData*) override {
        const py::gil_scoped_acquire held;
        // A copy: the collector may clear the member meanwhile.
        const py::object function = function_;
        if (function)
            function(id);
    }

    int Traverse(visitproc visit, void* arg) const {
        Py_VISIT(function_.ptr());
        return 0;
    }
    void Clear() {
        const py::object gone = std::move(function_);
        function_ = py::object();
    }

private:
    py::object function_;
};

int traverse(PyObject* self, visitproc visit, void* arg) {
    Py_VISIT(Py_TYPE(self));
    auto* instance = reinterpret_cast<py::detail::instance*>(self);
    const auto holder = instance->get_value_and_holder();
    return holder.holder_constructed()
               ? static_cast<cReceiver*>(holder.value_ptr())->Traverse(visit, arg)
               : 0;
}

int clear(PyObject* self) {
    auto* instance = reinterpret_cast<py::detail::instance*>(self);
    const auto holder = instance->get_value_and_holder();
    if (holder.holder_constructed())
        static_cast<cReceiver*>(holder.value_ptr())->Clear();
    return 0;
}

} // namespace

void registerMessages(py::module_& module) {
    // Functions often refer to what they listen to.
    const auto collected = py::custom_type_setup([](PyHeapTypeObject* type) {
        type->ht_type.tp_flags |= Py_TPFLAGS_HAVE_GC;
        type->ht_type.tp_traverse = &traverse;
        type->ht_type.tp_clear = &clear;
    });
    py::class_<cReceiver>(module, "mesg_cReceiver", py::module_local(), collected)
        .def(py::init<py::object>(), py::arg("function"))
        .def("leave_all", [](cReceiver& receiver) { receiver.LeaveAll(); });
    py::class_<mesg_cSender>(module, "mesg_cSender", py::module_local())
        .def(py::init<>())
        .def(
            "add_receiver",
            [](mesg_cSender& sender, cReceiver& receiver, unsigned short mask) {
                sender.AddReceiver(receiver, mask);
            },
            py::arg("receiver"), py::arg("mask") = mesg_AllClasses)
        .def("remove_receiver",
             [](mesg_cSender& sender, cReceiver& receiver) { sender.RemoveReceiver(receiver); })
        .def("queue_message",
             [](mesg_cSender& sender, unsigned long id) { sender.QueueMessage(id, nullptr); })
        .def("send_message",
             [](mesg_cSender& sender, unsigned long id) { sender.SendMessage(id, nullptr); });
    module.attr("rnge_1d_range_changed") = rnge_1DRangeChanged;
    module.attr("dasl_selection_changed") = dasl_SelectionChanged;
    module.attr("ftfn_function_changed") = ftfn_FunctionChanged;
    module.attr("mesg_sender_destroyed") = mesg_SenderDestroyed;
}

} // namespace dataprocessing::python
