#include <new>
#include <sstream>

#include "tests/faults/operation.h"

namespace {

/// Streams answer false where memory runs out, receivers' handlers do not: both are told here by
/// the exception.
void require(type_cBoolean isGood) {
    if (!isGood)
        throw std::bad_alloc();
}

struct cHeard : mesg_cReceiver {
    int count = 0;
    void ReceiveMessage(unsigned long, mesg_cSender&, mesg_sMessageData*) override { ++count; }
};

const char asciiFields[] =
    "Number 2.5\nCount 7\nTruth true\nFlag false\n"
    "Text \"a text that is longer than the room within a string\"\n"
    "Unknown CoordTransform {\n Offset 3\n}\n"
    "Axis CoordTransform {\n Offset 3\n Later \"a text of thirty characters\"\n"
    " Scale 2\n}\n"
    "Curve NamedObject {\n Name \"a name that is longer than a string's room\"\n}\n";

template<class Stream, class Named>
std::string readAll(Stream& stream, Named& named) {
    double number = 0;
    int count = 0;
    bool truth = false;
    type_cBoolean flag;
    str_cString text;
    trns_cCoordTransformation axis;
    require(stream.Read(number));
    require(stream.Read(count));
    require(stream.Read(truth));
    require(stream.Read(flag));
    require(stream.NextField());
    require(stream.Read(text));
    require(stream.SkipObject());
    require(stream.Read(axis));
    require(stream.Read(named));
    return bytesOf(number, count, truth, flag, text, axis, named.Name());
}

template<class Stream, class Key>
void writeAll(Stream& stream, Operands& of, const Key& key) {
    require(stream.Write(2.5, key));
    require(stream.Write(7, key));
    require(stream.Write(true, key));
    require(stream.Write(type_cBoolean(false), key));
    require(stream.Write(of.text, key));
    require(stream.Write(of.transformation, key));
    require(stream.Write(of.transformation, key));
    require(stream.Write(of.polynomial, key));
}

std::string binaryFields() {
    Operands of;
    std::ostringstream bytes;
    tgio_cBinary_ostream stream(bytes);
    of.polynomial.SetName(of.text);
    writeAll(stream, of, static_cast<unsigned short>(300));
    return bytes.str();
}

} // namespace

Table streamOperations() {
    Table table;
    table.Add("write ASCII", [](Operands& of) {
        std::ostringstream bytes;
        tgio_cASCII_ostream stream(bytes);
        writeAll(stream, of, str_cString("AFieldOfANameThatIsTooLongForAString"));
        return bytes.str();
    });
    table.Add("write binary", [](Operands& of) {
        std::ostringstream bytes;
        tgio_cBinary_ostream stream(bytes);
        writeAll(stream, of, static_cast<unsigned short>(300));
        return bytes.str();
    });
    table.Add("read ASCII", [](Operands& of) {
        std::istringstream bytes(asciiFields);
        tgio_cASCII_istream stream(bytes);
        plft_c1DPolyFittingFunction named(of.polynomial);
        return readAll(stream, named);
    });
    table.Add("read binary", [fields = binaryFields()](Operands& of) {
        std::istringstream bytes(fields);
        tgio_cBinary_istream stream(bytes);
        plft_c1DPolyFittingFunction named(of.polynomial);
        return readAll(stream, named);
    });

    table.Add("messages", [](Operands& of) {
        cHeard heard, other;
        of.selection.AddReceiver(heard, mesg_AllClasses);
        of.selection.AddReceiver(other, mesg_AllClasses);
        of.selection.SendMessage(dasl_SelectionChanged, nullptr);
        of.selection.QueueMessage(dasl_SelectionChanged, nullptr);
        of.selection.RemoveReceiver(other);
        of.window.SetStart(5050);
        heard.LeaveAll();
        return bytesOf(heard.count, other.count);
    });
    return table;
}
