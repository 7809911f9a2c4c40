#include "dataprocessing/exchange/tgio.h"

#include "dataprocessing/exchange/obty.h"
#include "dataprocessing/exchange/tgio_lasting.h"

namespace {

constexpr char nameField[] = "Name";
constexpr unsigned short nameTag = 1;

} // namespace

tgio_cTaggedStreamObject::~tgio_cTaggedStreamObject() = default;

type_cBoolean tgio_cTaggedStreamObject::ReadData(tgio_cASCII_istream& stream, const str_cString&) {
    return stream.SkipObject();
}

type_cBoolean tgio_cTaggedStreamObject::ReadAtom(tgio_cBinary_istream& stream) {
    return stream.SkipObject();
}

type_cBoolean tgio_cTaggedStreamObject::ReadAtom(tgio_cASCII_istream& stream) {
    // A nested object would change the stream's current name under the reader's hands.
    const str_cString name = stream.CurrentName();
    return ReadData(stream, name);
}

type_cBoolean tgio_cTaggedStreamObject::Read(tgio_cASCII_istream& stream) {
    bool ok = true;
    while (ok && stream.NextField())
        ok = ReadAtom(stream);
    return ok;
}

type_cBoolean tgio_cTaggedStreamObject::Read(tgio_cBinary_istream& stream) {
    bool ok = true;
    while (ok && stream.NextField())
        ok = ReadAtom(stream);
    return ok;
}

const tgio_cObjectType& tgio_cNamedTaggedStreamObject::ObjectType() const {
    static const dataprocessing::detail::tgio_cLasting type(obty_NamedObjectString,
                                                            obty_NamedObjectType);
    return type.value;
}

type_cBoolean tgio_cNamedTaggedStreamObject::ReadData(tgio_cASCII_istream& stream,
                                                      const str_cString& name) {
    return name == nameField ? stream.Read(name_)
                             : tgio_cTaggedStreamObject::ReadData(stream, name);
}

type_cBoolean tgio_cNamedTaggedStreamObject::ReadData(tgio_cBinary_istream& stream,
                                                      unsigned short tag) {
    return tag == nameTag ? stream.Read(name_) : stream.SkipObject();
}

type_cBoolean tgio_cNamedTaggedStreamObject::ReadAtom(tgio_cBinary_istream& stream) {
    return ReadData(stream, stream.CurrentTag());
}

type_cBoolean tgio_cNamedTaggedStreamObject::Write(tgio_cASCII_ostream& stream) const {
    return stream.Write(name_, nameField);
}

type_cBoolean tgio_cNamedTaggedStreamObject::Write(tgio_cBinary_ostream& stream) const {
    return stream.Write(name_, nameTag);
}

const str_cString& tgio_cNamedTaggedStreamObject::Name() const { return name_; }
void tgio_cNamedTaggedStreamObject::SetName(const str_cString& name) { name_ = name; }
