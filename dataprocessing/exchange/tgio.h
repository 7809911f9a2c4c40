#pragma once

/// @file
/// Tagged streams: objects written field by field to a `std::ostream` and read back from a
/// `std::istream`, in an ASCII form for people and a binary form for programs. Every field says
/// what it is, so a reader takes fields in any order, keeps its own value for those that are
/// missing and skips those that it does not know, whole nested objects included.
///
/// **ASCII.** A field is a name and a value on one line; an object is its type and its fields
/// between braces.
///
///     field  = name value newline
///     value  = number | truth | text | object
///     object = type "{" newline { field } "}"
///
/// Names and types are bare words of letters, digits and `_ . + -`, or texts. Numbers are the
/// shortest decimal that reads back to the same bits ("0.1", "-0", "inf", "nan") or hexadecimal
/// ("0x1.8p+3"); a truth is `true` or `false`. A text stands in double quotes, with `\"`, `\\`,
/// `\n` and `\xHH` for quotes, backslashes, newlines and further control characters; other bytes
/// stand for themselves. Spaces, tabs and carriage returns between these, and empty lines, mean
/// nothing. The newline after an outermost object may be missing at the end of a stream. Locales
/// have no influence.
///
///     Axis CoordTransform {
///         Offset 100
///         Scale 0.1
///     }
///
/// **Binary.** All numbers are little-endian; lengths count the payload's bytes.
///
///     field  = tag:16 length:32 payload
///     object = type:16 { field }           the payload of an object
///
/// A double has 8 bytes, an int 4, a truth 1 (0 or 1), a text its bytes. Tags below 256 belong to
/// the base classes of this header.
///
/// **Failures.** Nothing here throws, whatever the bytes, the `std` stream (also with its
/// exceptions enabled), the memory or an object's own `Read` and `Write` do: the call answers
/// false, and from then on the tagged stream answers false to everything. Never is more memory
/// taken than a small multiple of the bytes that really arrived. Objects nest at most
/// `tgio_MaxDepth` deep.
///
/// **The std stream** must outlive the tagged stream. Reading takes exactly the bytes of the
/// fields that it passes, through the stream's buffer, and sets no state bits. Writing hands each
/// outermost field over in one piece when it is complete, so an object that fails to write leaves
/// nothing behind. Open files with `std::ios::binary`.

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <span>
#include <string>

#include "dataprocessing/base/str.h"
#include "dataprocessing/base/type.h"
#include "dataprocessing/dataprocessing_export.h"

namespace dataprocessing::detail {
class tgio_cSteps;
struct tgio_cBlocks;
} // namespace dataprocessing::detail

/// The deepest nesting of objects in a tagged stream: an outermost object has depth 1.
inline constexpr int tgio_MaxDepth = 64;

/// What a class of objects is called in streams: by name in ASCII ones, by number in binary ones.
class tgio_cObjectType {
public:
    /// A type with this name and number.
    tgio_cObjectType(const str_cString& name, unsigned short number)
        : name_(name), number_(number) {}

    /// The name in ASCII streams.
    const str_cString& Name() const noexcept { return name_; }
    /// The number in binary streams.
    unsigned short Number() const noexcept { return number_; }

    /// Types are equal when both name and number are.
    friend bool operator==(const tgio_cObjectType&, const tgio_cObjectType&) = default;

private:
    str_cString name_;
    unsigned short number_;
};

class tgio_cASCII_istream;
class tgio_cASCII_ostream;
class tgio_cBinary_istream;
class tgio_cBinary_ostream;

/// The base of everything that can stand in a tagged stream. Users hand objects to the streams
/// (`stream.Write(object, "Axis")`, `stream.Read(object)`), which frame them and call the
/// operations below.
///
/// A class writes its fields in `Write`. To read them it either takes over the loop in `Read`,
///
///     type_cBoolean cPoint::Read(tgio_cASCII_istream& stream) {
///         bool ok = true;
///         while (ok && stream.NextField())
///             ok = stream.CurrentName() == "X" ? stream.Read(x_) : stream.SkipObject();
///         return ok;
///     }
///
/// or overrides `ReadData` for one field and leaves the rest to its base. Fields that are left
/// unread are skipped; of fields with the same name the last one read wins. An object whose
/// reading answers false may have taken some of its fields.
class DATAPROCESSING_EXPORT tgio_cTaggedStreamObject {
public:
    /// What this object is called in streams. Reading refuses an object of another type.
    virtual const tgio_cObjectType& ObjectType() const = 0;

protected:
    friend tgio_cASCII_istream;
    friend tgio_cASCII_ostream;
    friend tgio_cBinary_istream;
    friend tgio_cBinary_ostream;

    /// @name Copying is for derived classes, so that an object is not sliced by accident.
    /// @{
    tgio_cTaggedStreamObject() = default;
    tgio_cTaggedStreamObject(const tgio_cTaggedStreamObject&) = default;
    tgio_cTaggedStreamObject& operator=(const tgio_cTaggedStreamObject&) = default;
    /// @}

    /// Reads the value of the current field, which is called `name`. The base knows no fields and
    /// skips it.
    virtual type_cBoolean ReadData(tgio_cASCII_istream& stream, const str_cString& name);
    /// Reads the current field of a binary stream. The base knows no fields and skips it.
    virtual type_cBoolean ReadAtom(tgio_cBinary_istream& stream);
    /// Reads the current field of an ASCII stream: hands it to `ReadData` by its name.
    virtual type_cBoolean ReadAtom(tgio_cASCII_istream& stream);
    /// Reads the fields of this object: calls `ReadAtom` for each until one answers false.
    virtual type_cBoolean Read(tgio_cASCII_istream& stream);
    /// Reads the fields of this object: calls `ReadAtom` for each until one answers false.
    virtual type_cBoolean Read(tgio_cBinary_istream& stream);
    /// Writes the fields of this object; false when one of them failed.
    virtual type_cBoolean Write(tgio_cASCII_ostream& stream) const = 0;
    /// Writes the fields of this object; false when one of them failed.
    virtual type_cBoolean Write(tgio_cBinary_ostream& stream) const = 0;

public:
    virtual ~tgio_cTaggedStreamObject();
};

/// An object with a name, which it writes and reads: the field "Name" in ASCII streams, tag 1 in
/// binary ones. A derived class with fields of its own extends `Write` and both `ReadData`:
///
///     type_cBoolean cPeak::ReadData(tgio_cBinary_istream& stream, unsigned short tag) {
///         return tag == 256 ? stream.Read(height_)
///                           : tgio_cNamedTaggedStreamObject::ReadData(stream, tag);
///     }
class DATAPROCESSING_EXPORT tgio_cNamedTaggedStreamObject : public tgio_cTaggedStreamObject {
public:
    /// `obty_NamedObjectString`, `obty_NamedObjectType`, unless a derived class has its own.
    const tgio_cObjectType& ObjectType() const override;

protected:
    /// An object whose name is empty.
    tgio_cNamedTaggedStreamObject() = default;
    /// An object of this name.
    explicit tgio_cNamedTaggedStreamObject(const str_cString& name) : name_(name) {}

    using tgio_cTaggedStreamObject::ReadAtom;

    /// Reads the name, skips anything else.
    type_cBoolean ReadData(tgio_cASCII_istream& stream, const str_cString& name) override;
    /// Reads the current field: hands it to `ReadData` by its tag.
    type_cBoolean ReadAtom(tgio_cBinary_istream& stream) override;
    /// Writes the name.
    type_cBoolean Write(tgio_cASCII_ostream& stream) const override;
    /// Writes the name.
    type_cBoolean Write(tgio_cBinary_ostream& stream) const override;

public:
    /// The name; it may be empty and may hold any characters.
    virtual const str_cString& Name() const;
    /// Replaces the name.
    virtual void SetName(const str_cString& name);

protected:
    /// Reads the value of the current field, which has this tag: the name; skips anything else.
    virtual type_cBoolean ReadData(tgio_cBinary_istream& stream, unsigned short tag);

private:
    str_cString name_;
};

/// What the four tagged streams share: whether everything went well so far, and how many objects
/// are open.
class DATAPROCESSING_EXPORT tgio_cStream {
public:
    tgio_cStream(const tgio_cStream&) = delete;
    tgio_cStream& operator=(const tgio_cStream&) = delete;

    /// Whether no call has failed so far. After `NextField` has answered false it tells the end of
    /// the fields (true) from damage (false).
    type_cBoolean IsGood() const noexcept { return good_; }

protected:
    tgio_cStream() = default;
    ~tgio_cStream() = default;

private:
    friend dataprocessing::detail::tgio_cSteps;
    friend dataprocessing::detail::tgio_cBlocks;

    bool good_ = true;
    bool isOutOfMemory_ = false;
    int depth_ = 0;
};

/// Reads fields from an ASCII stream. `Read` and `SkipObject` take the value of the current field,
/// the one that `NextField` found; without one they first go to the next field, so a reader that
/// knows the order may leave `NextField` out: `in.Read(x) && in.Read(y)`.
class DATAPROCESSING_EXPORT tgio_cASCII_istream : public tgio_cStream {
public:
    /// Reads from `stream`, from where it stands.
    explicit tgio_cASCII_istream(std::istream& stream) noexcept : stream_(stream) {}

    /// Goes to the next field of the object being read, or, outside of objects, of the stream;
    /// skips the value of the current field if nobody read it. False when there is none.
    type_cBoolean NextField() noexcept;
    /// The name of the field that `NextField` found last; valid until the next call.
    const str_cString& CurrentName() const noexcept { return name_; }

    /// @name Reading the value of the current field
    /// False, with the argument as it was, when the value is of another kind or does not fit: any
    /// number is a double, unless it lies beyond the range of double or between 0 and its smallest
    /// value; an int has no decimals and no exponent; a text has its quotes.
    /// @{
    type_cBoolean Read(double& value) noexcept;
    type_cBoolean Read(int& value) noexcept;
    type_cBoolean Read(bool& value) noexcept;
    type_cBoolean Read(type_cBoolean& value) noexcept;
    type_cBoolean Read(str_cString& value) noexcept;
    /// @}

    /// Reads an object: checks its type, has it read its fields, skips those it left and takes the
    /// closing brace. False when any of these fails; the object may then have taken some fields.
    type_cBoolean Read(tgio_cTaggedStreamObject& object) noexcept;

    /// Skips the value of the current field, of whatever kind.
    type_cBoolean SkipObject() noexcept;

private:
    class DATAPROCESSING_NO_EXPORT cParser;

    std::istream& stream_;
    str_cString name_;
    bool pending_ = false;
};

/// Writes fields to an ASCII stream.
class DATAPROCESSING_EXPORT tgio_cASCII_ostream : public tgio_cStream {
public:
    /// Writes to `stream`, from where it stands.
    explicit tgio_cASCII_ostream(std::ostream& stream) noexcept : stream_(stream) {}

    /// Writes a double: in its shortest decimal form, or, with `hexadecimal`, as "0x1.8p+3", which
    /// shows the bits. Both read back to the same bits; of a NaN only that it is one.
    type_cBoolean Write(double value, const str_cString& name,
                        type_cBoolean hexadecimal = false) noexcept;
    /// Writes an int.
    type_cBoolean Write(int value, const str_cString& name) noexcept;
    /// Writes a truth.
    type_cBoolean Write(type_cBoolean value, const str_cString& name) noexcept;
    /// Writes a truth; a `bool` would become an int otherwise.
    template<std::same_as<bool> Bool>
    type_cBoolean Write(Bool value, const str_cString& name) noexcept {
        return Write(type_cBoolean(value), name);
    }
    /// Writes a text of any characters.
    type_cBoolean Write(const str_cString& value, const str_cString& name) noexcept;
    /// Writes an object with its type and its fields.
    type_cBoolean Write(const tgio_cTaggedStreamObject& object, const str_cString& name) noexcept;

private:
    class DATAPROCESSING_NO_EXPORT cPrinter;

    std::ostream& stream_;
    std::string buffer_;
};

/// Reads fields from a binary stream. `Read` and `SkipObject` take the value of the current field,
/// the one that `NextField` found; without one they first go to the next field, so a reader that
/// knows the order may leave `NextField` out: `in.Read(x) && in.Read(y)`.
class DATAPROCESSING_EXPORT tgio_cBinary_istream : public tgio_cStream {
public:
    /// Reads from `stream`, from where it stands.
    explicit tgio_cBinary_istream(std::istream& stream) noexcept : stream_(stream) {}

    /// Goes to the next field of the object being read, or, outside of objects, of the stream;
    /// skips the value of the current field if nobody read it. False when there is none.
    type_cBoolean NextField() noexcept;
    /// The tag of the field that `NextField` found last.
    unsigned short CurrentTag() const noexcept { return tag_; }

    /// @name Reading the value of the current field
    /// False, with the argument as it was, when the length is not that of the kind. Kinds of equal
    /// length cannot be told apart.
    /// @{
    type_cBoolean Read(double& value) noexcept;
    type_cBoolean Read(int& value) noexcept;
    type_cBoolean Read(bool& value) noexcept;
    type_cBoolean Read(type_cBoolean& value) noexcept;
    type_cBoolean Read(str_cString& value) noexcept;
    /// @}

    /// Reads an object: checks its type, has it read its fields and skips those it left. False
    /// when any of these fails; the object may then have taken some fields.
    type_cBoolean Read(tgio_cTaggedStreamObject& object) noexcept;

    /// Skips the value of the current field, of whatever kind.
    type_cBoolean SkipObject() noexcept;

private:
    friend dataprocessing::detail::tgio_cBlocks;
    class DATAPROCESSING_NO_EXPORT cParser;

    std::istream& stream_;
    std::uint64_t left_ = UINT64_MAX;
    std::uint32_t length_ = 0;
    unsigned short tag_ = 0;
    bool pending_ = false;
};

/// Writes fields to a binary stream.
class DATAPROCESSING_EXPORT tgio_cBinary_ostream : public tgio_cStream {
public:
    /// Writes to `stream`, from where it stands.
    explicit tgio_cBinary_ostream(std::ostream& stream) noexcept : stream_(stream) {}

    /// Writes a double, bit for bit.
    type_cBoolean Write(double value, unsigned short tag) noexcept;
    /// Writes an int.
    type_cBoolean Write(int value, unsigned short tag) noexcept;
    /// Writes a truth.
    type_cBoolean Write(type_cBoolean value, unsigned short tag) noexcept;
    /// Writes a truth; a `bool` would become an int otherwise.
    template<std::same_as<bool> Bool>
    type_cBoolean Write(Bool value, unsigned short tag) noexcept {
        return Write(type_cBoolean(value), tag);
    }
    /// Writes a text of any characters.
    type_cBoolean Write(const str_cString& value, unsigned short tag) noexcept;
    /// Writes an object with its type and its fields; false when they exceed 2^32 - 1 bytes.
    type_cBoolean Write(const tgio_cTaggedStreamObject& object, unsigned short tag) noexcept;

private:
    friend dataprocessing::detail::tgio_cBlocks;
    class DATAPROCESSING_NO_EXPORT cPrinter;

    std::ostream& stream_;
    std::string buffer_;
    std::span<const std::byte> last_; // what stands behind the buffer
};
