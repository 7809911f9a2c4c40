#include "dataprocessing/valuemodel/rcrd_object.h"

#include <bit>
#include <cstring>
#include <new>
#include <span>

namespace dataprocessing::detail {

namespace {

constexpr bool isTurned = std::endian::native == std::endian::big;

std::string_view viewOf(const str_cString& text) {
    return {text.Text(), static_cast<std::size_t>(text.Length())};
}

template<class T>
rcrd_sElements elementsOf(const std::vector<T>& list) {
    Require(list.size() <= INT32_MAX);
    return {dtyp_Of<T>(), static_cast<int>(list.size()), 1, list.data()};
}

void putLines(tgio_cASCII_ostream& stream, rcrd_sField field, const rcrd_sElements& elements) {
    rcrd_PrintLines(elements, [&](const std::string& line) {
        Require(stream.Write(str_cString(line), field.name));
    });
}

template<class T>
void putList(tgio_cBinary_ostream& stream, rcrd_sField field, const std::vector<T>& list) {
    std::string bytes(reinterpret_cast<const char*>(list.data()), list.size() * sizeof(T));
    if constexpr (isTurned)
        rcrd_TurnBytes(std::as_writable_bytes(std::span(bytes)), sizeof(T));
    Require(stream.Write(str_cString(std::move(bytes)), field.tag));
}

template<class T>
void takeList(tgio_cASCII_istream& stream, std::vector<T>& list) {
    str_cString line;
    Require(stream.Read(line));
    rcrd_ParseLine(viewOf(line), dtyp_Of<T>(), [&](std::span<const std::byte> element) {
        std::memcpy(&list.emplace_back(), element.data(), sizeof(T));
    });
}

template<class T>
void takeList(tgio_cBinary_istream& stream, std::vector<T>& list) {
    str_cString text;
    Require(stream.Read(text));
    const std::string_view bytes = viewOf(text);
    Require(bytes.size() % sizeof(T) == 0);
    list.resize(bytes.size() / sizeof(T));
    if (!list.empty())
        std::memcpy(list.data(), bytes.data(), bytes.size());
    if constexpr (isTurned)
        rcrd_TurnBytes(std::as_writable_bytes(std::span(list)), sizeof(T));
}

} // namespace

void rcrd_Put(tgio_cASCII_ostream& stream, rcrd_sField field, const rcrd_cBlock& block) {
    putLines(stream, field, block.Elements());
}

void rcrd_Put(tgio_cBinary_ostream& stream, rcrd_sField field, const rcrd_cBlock& block) {
    const rcrd_sElements elements = block.Elements();
    const std::span bytes(static_cast<const std::byte*>(elements.data), elements.Bytes());
    if constexpr (isTurned) {
        std::string turned(reinterpret_cast<const char*>(bytes.data()), bytes.size());
        rcrd_TurnBytes(std::as_writable_bytes(std::span(turned)), rcrd_WordSize(elements.type));
        Require(stream.Write(str_cString(std::move(turned)), field.tag));
    } else {
        Require(tgio_cBlocks::WriteLast(stream, bytes, field.tag));
    }
}

void rcrd_Take(tgio_cASCII_istream& stream, rcrd_cBlock& block) {
    str_cString line;
    Require(stream.Read(line));
    rcrd_cRoom& room = block.Room();
    rcrd_ParseLine(viewOf(line), block.Elements().type,
                   [&](std::span<const std::byte> element) { room.Put(element); });
}

void rcrd_Take(tgio_cBinary_istream& stream, rcrd_cBlock& block) {
    const rcrd_sElements elements = block.Elements();
    rcrd_cRoom& room = block.Room();
    Require(room.IsEmpty() && tgio_cBlocks::Length(stream) == elements.Bytes() &&
            tgio_cBlocks::Begin(stream));
    for (auto next = room.Next(); !next.empty(); next = room.Next()) {
        Require(tgio_cBlocks::ReadPart(stream, next));
        if constexpr (isTurned)
            rcrd_TurnBytes(next, rcrd_WordSize(elements.type));
        room.Took(next.size());
    }
}

void rcrd_Put(tgio_cASCII_ostream& stream, rcrd_sField field, const dtyp_cDataType& type) {
    Require(stream.Write(str_cString(rcrd_NameOf(type)), field.name));
}
void rcrd_Put(tgio_cBinary_ostream& stream, rcrd_sField field, const dtyp_cDataType& type) {
    Require(stream.Write(type.Code(), field.tag));
}
void rcrd_Take(tgio_cASCII_istream& stream, dtyp_cDataType& type) {
    str_cString name;
    Require(stream.Read(name));
    type = rcrd_TypeOf(viewOf(name));
}
void rcrd_Take(tgio_cBinary_istream& stream, dtyp_cDataType& type) {
    int code = 0;
    Require(stream.Read(code));
    type = dtyp_cDataType(code);
}

void rcrd_Put(tgio_cASCII_ostream& stream, rcrd_sField field, const std::vector<double>& list) {
    putLines(stream, field, elementsOf(list));
}
void rcrd_Put(tgio_cBinary_ostream& stream, rcrd_sField field, const std::vector<double>& list) {
    putList(stream, field, list);
}
void rcrd_Put(tgio_cASCII_ostream& stream, rcrd_sField field, const std::vector<int>& list) {
    putLines(stream, field, elementsOf(list));
}
void rcrd_Put(tgio_cBinary_ostream& stream, rcrd_sField field, const std::vector<int>& list) {
    putList(stream, field, list);
}
void rcrd_Take(tgio_cASCII_istream& stream, std::vector<double>& list) { takeList(stream, list); }
void rcrd_Take(tgio_cBinary_istream& stream, std::vector<double>& list) { takeList(stream, list); }
void rcrd_Take(tgio_cASCII_istream& stream, std::vector<int>& list) { takeList(stream, list); }
void rcrd_Take(tgio_cBinary_istream& stream, std::vector<int>& list) { takeList(stream, list); }

void rcrd_ThrowUnsaved(const tgio_cStream& stream) {
    if (tgio_cBlocks::IsOutOfMemory(stream))
        throw std::bad_alloc();
    throw expt_cUserException("rcrd", 3, "The stream does not take the record.");
}

void rcrd_ThrowUnread(const tgio_cStream& stream, rcrd_eProgress progress) {
    if (tgio_cBlocks::IsOutOfMemory(stream))
        throw std::bad_alloc();
    if (progress == rcrd_NotBegun)
        throw expt_cUserException("rcrd", 5, "The stream has no record of such a value here.");
    if (progress == rcrd_TooNew)
        throw expt_cUserException("rcrd", 6, "A later version of the library wrote the record.");
    throw expt_cUserException("rcrd", 7, "The record is damaged or ends too early.");
}

rcrd_eForm rcrd_FormOf(std::istream& stream) {
    using Traits = std::istream::traits_type;
    int first = stream.fail() ? Traits::eof() : stream.rdbuf()->sgetc();
    // People leave blank lines between records, and at the end.
    while (first == ' ' || first == '\t' || first == '\r' || first == '\n')
        first = stream.rdbuf()->snextc();
    if (first == Traits::eof())
        throw expt_cUserException("rcrd", 4, "The stream has nothing more to load.");
    return first == (rcrd_outermost.tag & 0xff) ? rcrd_Binary : rcrd_Text;
}

} // namespace dataprocessing::detail
