#pragma once

// What all records share: the fields of an image, in the four directions, and the frame round them.
//
// An image is what a record holds of a value. It says
//
//     static const tgio_cObjectType& Type();      // what the record is called
//     template<class Visit> void Fields(Visit visit);  // calls visit(field, member) for each field
//     void Finish();                              // all fields have been read: refuses, or makes
//     void MoveTo(Value& value);                  // what was read becomes the value
//
// and takes part in both directions with the same list of fields.

#include <concepts>
#include <cstdint>
#include <istream>
#include <optional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "dataprocessing/base/expt.h"
#include "dataprocessing/exchange/tgio_attempt.h"
#include "dataprocessing/exchange/tgio_blocks.h"
#include "dataprocessing/exchange/tgio_lasting.h"
#include "dataprocessing/valuemodel/rcrd.h"
#include "dataprocessing/valuemodel/rcrd_elements.h"

namespace dataprocessing::detail {

/// What the records of a type are called; each type that has records has one of its own.
struct rcrd_sKind {
    const char* name;
    unsigned short number;
};
template<class Value>
inline constexpr rcrd_sKind rcrd_kindOf = {};

/// The part of an image that says so.
template<class Value>
struct rcrd_sImageOf {
    static const tgio_cObjectType& Type() {
        static_assert(rcrd_kindOf<Value>.number != 0);
        static const tgio_cLasting type(rcrd_kindOf<Value>.name, rcrd_kindOf<Value>.number);
        return type.value;
    }
};

/// What a field is called in both forms.
struct rcrd_sField {
    const char* name;
    unsigned short tag;
};

inline constexpr rcrd_sField rcrd_version = {"Version", 256};

/// The version that is written, and the latest one that is read.
inline constexpr int rcrd_latest = 1;

/// An image with elements.
class rcrd_cArray {
public:
    /// What the elements are. When reading: throws sRefusal where the fields read so far do not say
    /// so, or say what cannot be.
    virtual rcrd_sElements Describe() const = 0;
    /// Makes the storage that they are read into.
    virtual void* Make() = 0;

protected:
    rcrd_cArray() = default;
    rcrd_cArray(const rcrd_cArray&) = default;
    rcrd_cArray(rcrd_cArray&&) = default;
    rcrd_cArray& operator=(const rcrd_cArray&) = default;
    rcrd_cArray& operator=(rcrd_cArray&&) = default;
    ~rcrd_cArray() = default;
};

/// The elements of an image as one of its fields: of which type and how many there are is known
/// before they are read.
class rcrd_cBlock {
public:
    rcrd_cBlock& Of(rcrd_cArray& array) noexcept {
        array_ = &array;
        return *this;
    }

    rcrd_sElements Elements() const { return array_->Describe(); }
    /// The room that they are read into, which is the same until all have been read.
    rcrd_cRoom& Room() {
        if (!room_)
            room_.emplace(Elements().Bytes(), [array = array_] { return array->Make(); });
        return *room_;
    }

private:
    rcrd_cArray* array_ = nullptr;
    std::optional<rcrd_cRoom> room_;
};

void rcrd_Put(tgio_cASCII_ostream& stream, rcrd_sField field, const rcrd_cBlock& block);
void rcrd_Put(tgio_cBinary_ostream& stream, rcrd_sField field, const rcrd_cBlock& block);
void rcrd_Put(tgio_cASCII_ostream& stream, rcrd_sField field, const dtyp_cDataType& type);
void rcrd_Put(tgio_cBinary_ostream& stream, rcrd_sField field, const dtyp_cDataType& type);
void rcrd_Put(tgio_cASCII_ostream& stream, rcrd_sField field, const std::vector<double>& list);
void rcrd_Put(tgio_cBinary_ostream& stream, rcrd_sField field, const std::vector<double>& list);
void rcrd_Put(tgio_cASCII_ostream& stream, rcrd_sField field, const std::vector<int>& list);
void rcrd_Put(tgio_cBinary_ostream& stream, rcrd_sField field, const std::vector<int>& list);
void rcrd_Take(tgio_cASCII_istream& stream, rcrd_cBlock& block);
void rcrd_Take(tgio_cBinary_istream& stream, rcrd_cBlock& block);
void rcrd_Take(tgio_cASCII_istream& stream, dtyp_cDataType& type);
void rcrd_Take(tgio_cBinary_istream& stream, dtyp_cDataType& type);
void rcrd_Take(tgio_cASCII_istream& stream, std::vector<double>& list);
void rcrd_Take(tgio_cBinary_istream& stream, std::vector<double>& list);
void rcrd_Take(tgio_cASCII_istream& stream, std::vector<int>& list);
void rcrd_Take(tgio_cBinary_istream& stream, std::vector<int>& list);

template<class Value>
concept rcrd_Simple = std::same_as<Value, int> || std::same_as<Value, double>;

template<rcrd_Simple Value>
void rcrd_Put(tgio_cASCII_ostream& stream, rcrd_sField field, const Value& value) {
    Require(stream.Write(value, field.name));
}
template<rcrd_Simple Value>
void rcrd_Put(tgio_cBinary_ostream& stream, rcrd_sField field, const Value& value) {
    Require(stream.Write(value, field.tag));
}
template<class Stream, rcrd_Simple Value>
void rcrd_Take(Stream& stream, Value& value) {
    Require(stream.Read(value));
}

/// Texts, each a field of its own.
inline void rcrd_Put(tgio_cASCII_ostream& stream, rcrd_sField field,
                     const std::vector<std::string>& texts) {
    for (const std::string& text : texts)
        Require(stream.Write(str_cString(text), field.name));
}
inline void rcrd_Put(tgio_cBinary_ostream& stream, rcrd_sField field,
                     const std::vector<std::string>& texts) {
    for (const std::string& text : texts)
        Require(stream.Write(str_cString(text), field.tag));
}
template<class Stream>
void rcrd_Take(Stream& stream, std::vector<std::string>& texts) {
    str_cString text;
    Require(stream.Read(text));
    texts.emplace_back(text.Text(), static_cast<std::size_t>(text.Length()));
}

/// Fields that may be missing because a list has nothing.
template<class Member>
inline constexpr bool rcrd_mayBeMissing = false;
template<>
inline constexpr bool rcrd_mayBeMissing<rcrd_cBlock> = true; // where it has no elements
template<class T>
inline constexpr bool rcrd_mayBeMissing<std::vector<T>> = true;

inline bool rcrd_IsAt(const tgio_cASCII_istream& stream, rcrd_sField field) {
    return stream.CurrentName() == field.name;
}
inline bool rcrd_IsAt(const tgio_cBinary_istream& stream, rcrd_sField field) {
    return stream.CurrentTag() == field.tag;
}

/// How far the reading of a record came.
enum rcrd_eProgress { rcrd_NotBegun, rcrd_TooNew, rcrd_Begun };

/// An image as an object of tagged streams.
template<class Image>
class rcrd_cObject final : public tgio_cTaggedStreamObject {
public:
    rcrd_cObject() = default;
    explicit rcrd_cObject(Image image) : image_(std::move(image)) {}

    const tgio_cObjectType& ObjectType() const override { return Image::Type(); }

    Image& Result() noexcept { return image_; }
    rcrd_eProgress Progress() const noexcept { return progress_; }

private:
    template<class Stream>
    bool WriteFields(Stream& stream) const {
        rcrd_Put(stream, rcrd_version, rcrd_latest);
        image_.Fields([&](rcrd_sField field, auto& member) { rcrd_Put(stream, field, member); });
        return true;
    }

    template<class Stream>
    bool ReadFields(Stream& stream) {
        progress_ = rcrd_Begun;
        std::uint32_t found = 0;
        int version = 0;
        while (stream.NextField()) {
            std::uint32_t bit = 1;
            bool isKnown = false;
            const auto take = [&](rcrd_sField field, auto& member) {
                if (!isKnown && rcrd_IsAt(stream, field)) {
                    rcrd_Take(stream, member);
                    found |= bit;
                    isKnown = true;
                }
                bit <<= 1;
            };
            take(rcrd_version, version);
            if (version > rcrd_latest) {
                progress_ = rcrd_TooNew;
                return false;
            }
            image_.Fields(take);
            Require(isKnown || stream.SkipObject());
        }
        std::uint32_t bit = 2;
        bool isComplete = stream.IsGood() && version >= 1;
        image_.Fields([&]<class Member>(rcrd_sField, Member&) {
            isComplete = isComplete && (rcrd_mayBeMissing<Member> || (found & bit) != 0);
            bit <<= 1;
        });
        Require(isComplete);
        image_.Finish();
        return true;
    }

    type_cBoolean Write(tgio_cASCII_ostream& stream) const override { return WriteFields(stream); }
    type_cBoolean Write(tgio_cBinary_ostream& stream) const override { return WriteFields(stream); }
    type_cBoolean Read(tgio_cASCII_istream& stream) override { return ReadFields(stream); }
    type_cBoolean Read(tgio_cBinary_istream& stream) override { return ReadFields(stream); }

    mutable Image image_; // its list of fields is one for both directions
    rcrd_eProgress progress_ = rcrd_NotBegun;
};

/// Where a record of its own stands. The binary tag begins with a byte that no text begins with.
inline constexpr rcrd_sField rcrd_outermost = {"Record", 0xD289};

[[noreturn]] void rcrd_ThrowUnsaved(const tgio_cStream& stream);
[[noreturn]] void rcrd_ThrowUnread(const tgio_cStream& stream, rcrd_eProgress progress);
/// Throws where there is nothing to read; answers the form of what there is.
rcrd_eForm rcrd_FormOf(std::istream& stream);

template<class Image>
void rcrd_SaveImage(std::ostream& stream, Image image, rcrd_eForm form) {
    const rcrd_cObject<Image> object(std::move(image));
    if (form == rcrd_Binary) {
        tgio_cBinary_ostream out(stream);
        if (!out.Write(object, rcrd_outermost.tag))
            rcrd_ThrowUnsaved(out);
    } else {
        tgio_cASCII_ostream out(stream);
        if (!out.Write(object, rcrd_outermost.name))
            rcrd_ThrowUnsaved(out);
    }
}

template<class Stream, class Image, class Label>
bool rcrd_WriteImage(Stream& stream, Image image, const Label& label) noexcept {
    return stream.Write(rcrd_cObject<Image>(std::move(image)), label);
}

template<class Image, class Stream, class Value>
bool rcrd_ReadImage(Stream& stream, Value& value) {
    rcrd_cObject<Image> object;
    if (!stream.Read(object))
        return false;
    object.Result().MoveTo(value);
    return true;
}

template<class Image, class Stream>
Image rcrd_LoadImage(std::istream& stream) {
    Stream in(stream);
    rcrd_cObject<Image> object;
    if (!in.Read(object))
        rcrd_ThrowUnread(in, object.Progress());
    return std::move(object.Result());
}

template<class Image>
Image rcrd_LoadImage(std::istream& stream) {
    return rcrd_FormOf(stream) == rcrd_Binary ? rcrd_LoadImage<Image, tgio_cBinary_istream>(stream)
                                              : rcrd_LoadImage<Image, tgio_cASCII_istream>(stream);
}

} // namespace dataprocessing::detail
