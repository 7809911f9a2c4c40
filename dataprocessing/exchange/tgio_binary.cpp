#include <algorithm>
#include <array>
#include <bit>
#include <istream>
#include <utility>

#include "dataprocessing/exchange/tgio_attempt.h"

using dataprocessing::detail::Bytes;
using dataprocessing::detail::DeliverTo;
using dataprocessing::detail::maxTextLength;
using dataprocessing::detail::Require;

namespace {

// A length is only a claim: what it announces is taken in blocks of this size as it arrives.
constexpr std::uint64_t blockSize = 4096;

template<std::unsigned_integral Word>
std::array<char, sizeof(Word)> LittleEndian(Word word) {
    std::array<char, sizeof(Word)> bytes;
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<char>(static_cast<unsigned char>(word >> 8 * i));
    return bytes;
}

} // namespace

void tgio_cBinary_istream::Take(std::span<char> bytes) {
    const auto count = static_cast<std::streamsize>(bytes.size());
    Require(bytes.size() <= left_ && stream_.rdbuf()->sgetn(bytes.data(), count) == count);
    left_ -= bytes.size();
}

template<std::unsigned_integral Word>
Word tgio_cBinary_istream::TakeWord() {
    std::array<char, sizeof(Word)> bytes;
    Take(bytes);
    Word word = 0;
    for (std::size_t i = 0; i < sizeof(Word); ++i)
        word = static_cast<Word>(word | Word{static_cast<unsigned char>(bytes[i])} << 8 * i);
    return word;
}

template<std::unsigned_integral Word>
Word tgio_cBinary_istream::TakeValue() {
    TakeField();
    Require(length_ == sizeof(Word));
    return TakeWord<Word>();
}

void tgio_cBinary_istream::Discard(std::uint64_t count) {
    std::array<char, blockSize> block;
    while (count > 0) {
        const std::uint64_t part = std::min(count, blockSize);
        Take(std::span(block).first(part));
        count -= part;
    }
}

bool tgio_cBinary_istream::FindField() {
    if (pending_) {
        TakeField();
        Discard(length_);
    }
    Require(!stream_.fail());
    using Traits = std::istream::traits_type;
    if (left_ == 0 || (Depth() == 0 && stream_.rdbuf()->sgetc() == Traits::eof()))
        return false;
    tag_ = TakeWord<std::uint16_t>();
    length_ = TakeWord<std::uint32_t>();
    Require(length_ <= left_);
    pending_ = true;
    return true;
}

void tgio_cBinary_istream::TakeField() {
    Require(pending_ || FindField());
    pending_ = false;
}

type_cBoolean tgio_cBinary_istream::NextField() noexcept {
    bool found = false;
    return Attempt([&] { found = FindField(); }) && found;
}

type_cBoolean tgio_cBinary_istream::Read(double& value) noexcept {
    return Attempt([&] { value = std::bit_cast<double>(TakeValue<std::uint64_t>()); });
}

type_cBoolean tgio_cBinary_istream::Read(int& value) noexcept {
    return Attempt([&] { value = std::bit_cast<std::int32_t>(TakeValue<std::uint32_t>()); });
}

type_cBoolean tgio_cBinary_istream::Read(bool& value) noexcept {
    return Attempt([&] {
        const auto byte = TakeValue<std::uint8_t>();
        Require(byte <= 1);
        value = byte == 1;
    });
}

type_cBoolean tgio_cBinary_istream::Read(type_cBoolean& value) noexcept {
    bool truth = value;
    const bool ok = Read(truth);
    value = truth;
    return ok;
}

type_cBoolean tgio_cBinary_istream::Read(str_cString& value) noexcept {
    return Attempt([&] {
        TakeField();
        Require(length_ <= maxTextLength);
        std::string text;
        while (text.size() < length_) {
            const std::size_t start = text.size();
            text.resize(start + std::min<std::size_t>(length_ - start, blockSize));
            Take(std::span(text).subspan(start));
        }
        value = str_cString(std::move(text));
    });
}

type_cBoolean tgio_cBinary_istream::Read(tgio_cTaggedStreamObject& object) noexcept {
    return Attempt([&] {
        TakeField();
        const std::uint64_t beyond = left_ - length_;
        left_ = length_;
        EnterObject();
        Require(TakeWord<std::uint16_t>() == object.ObjectType().Number());
        Require(object.Read(*this) && IsGood());
        while (FindField()) {
        }
        LeaveObject();
        left_ = beyond;
    });
}

type_cBoolean tgio_cBinary_istream::SkipObject() noexcept {
    return Attempt([&] {
        TakeField();
        Discard(length_);
    });
}

template<std::unsigned_integral Word>
void tgio_cBinary_ostream::PutWord(Word word) {
    const std::array<char, sizeof(Word)> bytes = LittleEndian(word);
    buffer_.append(bytes.data(), bytes.size());
}

template<std::unsigned_integral Word>
void tgio_cBinary_ostream::PutField(Word value, unsigned short tag) {
    PutWord(tag);
    PutWord(std::uint32_t{sizeof(Word)});
    PutWord(value);
    Deliver();
}

void tgio_cBinary_ostream::Deliver() {
    if (Depth() == 0)
        DeliverTo(stream_, buffer_);
}

type_cBoolean tgio_cBinary_ostream::Write(double value, unsigned short tag) noexcept {
    return Attempt([&] { PutField(std::bit_cast<std::uint64_t>(value), tag); });
}

type_cBoolean tgio_cBinary_ostream::Write(int value, unsigned short tag) noexcept {
    return Attempt([&] { PutField(std::bit_cast<std::uint32_t>(value), tag); });
}

type_cBoolean tgio_cBinary_ostream::Write(type_cBoolean value, unsigned short tag) noexcept {
    return Attempt([&] { PutField(static_cast<std::uint8_t>(value ? 1 : 0), tag); });
}

type_cBoolean tgio_cBinary_ostream::Write(const str_cString& value, unsigned short tag) noexcept {
    return Attempt([&] {
        const std::string_view text = Bytes(value);
        PutWord(tag);
        PutWord(static_cast<std::uint32_t>(text.size()));
        buffer_ += text;
        Deliver();
    });
}

type_cBoolean tgio_cBinary_ostream::Write(const tgio_cTaggedStreamObject& object,
                                          unsigned short tag) noexcept {
    return Attempt([&] {
        PutWord(tag);
        const std::size_t lengthPlace = buffer_.size();
        PutWord(std::uint32_t{0});
        const std::size_t start = buffer_.size();
        PutWord(object.ObjectType().Number());
        EnterObject();
        Require(object.Write(*this) && IsGood());
        LeaveObject();
        const std::size_t length = buffer_.size() - start;
        Require(length <= UINT32_MAX);
        std::ranges::copy(LittleEndian(static_cast<std::uint32_t>(length)),
                          buffer_.begin() + static_cast<std::ptrdiff_t>(lengthPlace));
        Deliver();
    });
}
