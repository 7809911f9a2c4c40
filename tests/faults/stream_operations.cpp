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

/// Everything that records do with a value, which `valueOf` takes of the operands.
template<class ValueOf>
void addRecords(Table& table, const std::string& name, ValueOf valueOf) {
    using Value = std::remove_cvref_t<std::invoke_result_t<ValueOf, Operands&>>;
    for (const rcrd_eForm form : {rcrd_Binary, rcrd_Text}) {
        const std::string both = name + (form == rcrd_Text ? " as text" : " as bytes");
        table.Add("save " + both, [=](Operands& of) {
            std::ostringstream bytes;
            rcrd_Save(bytes, valueOf(of), form);
            require(bytes.good());
            return bytes.str();
        });
        table.Add("load " + both, [=](Operands& of) {
            std::stringstream bytes;
            rcrd_Save(bytes, valueOf(of), form);
            require(bytes.good());
            Value value{};
            rcrd_Load(bytes, value);
            return bytesOf(value);
        });
    }
    table.Add(name + " as fields", [=](Operands& of) {
        std::stringstream text, bytes;
        tgio_cASCII_ostream textOut(text);
        require(rcrd_Write(textOut, valueOf(of), "Value"));
        tgio_cBinary_ostream bytesOut(bytes);
        require(rcrd_Write(bytesOut, valueOf(of), 300));
        require(text.good() && bytes.good());
        Value first{}, second{};
        tgio_cASCII_istream textIn(text);
        require(rcrd_Read(textIn, first));
        tgio_cBinary_istream bytesIn(bytes);
        require(rcrd_Read(bytesIn, second));
        return bytesOf(first, second);
    });
}

void addRecords(Table& table) {
    addRecords(
        table, "number", [](Operands & of) -> auto& { return of.number; });
    addRecords(
        table, "line", [](Operands & of) -> auto& { return of.line; });
    addRecords(
        table, "image", [](Operands & of) -> auto& { return of.image; });
    addRecords(table, "bare line",
               [](Operands& of) -> const parr_c1DNumberArray& { return of.line; });
    addRecords(table, "bare image",
               [](Operands& of) -> const parr_c2DNumberArray& { return of.image; });
    addRecords(table, "mask", [](Operands& of) { return of.line > 2; });
    addRecords(table, "mask of an image", [](Operands& of) { return of.image > 2; });
    addRecords(
        table, "calibration", [](Operands & of) -> auto& { return of.calibration; });
    addRecords(table, "calibration of an image", [](Operands& of) { return of.image.Cal(); });
    addRecords(
        table, "range", [](Operands & of) -> auto& { return of.range; });
    addRecords(table, "rectangle", [](Operands& of) { return of.image.Range(); });
    table.AddRefused("load from nothing", [](Operands& of) {
        std::istringstream nothing;
        rcrd_Load(nothing, of.line);
    });
}

} // namespace

Table streamOperations() {
    Table table;
    addRecords(table);
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
