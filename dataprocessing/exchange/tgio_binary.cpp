#include <algorithm>
#include <array>
#include <bit>
#include <istream>
#include <span>
#include <utility>

#include "dataprocessing/exchange/tgio_attempt.h"
#include "dataprocessing/exchange/tgio_blocks.h"

using dataprocessing::detail::Bytes;
using dataprocessing::detail::DeliverTo;
using dataprocessing::detail::maxTextLength;
using dataprocessing::detail::Require;
using dataprocessing::detail::tgio_cSteps;

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

/// The framing, over the bytes and the state of a reader.
class tgio_cBinary_istream::cParser : public tgio_cSteps {
public:
    explicit cParser(tgio_cBinary_istream& reader) : tgio_cSteps(reader), reader_(reader) {}

    bool FindField() {
        if (reader_.pending_)
            SkipValue();
        Require(!reader_.stream_.fail());
        using Traits = std::istream::traits_type;
        if (reader_.left_ == 0 ||
            (Depth() == 0 && reader_.stream_.rdbuf()->sgetc() == Traits::eof()))
            return false;
        reader_.tag_ = TakeWord<std::uint16_t>();
        reader_.length_ = TakeWord<std::uint32_t>();
        Require(reader_.length_ <= reader_.left_);
        reader_.pending_ = true;
        return true;
    }

    /// The value of the current field, which is a number as long as the word.
    template<std::unsigned_integral Word>
    Word Value() {
        TakeField();
        Require(reader_.length_ == sizeof(Word));
        return TakeWord<Word>();
    }

    std::string Text() {
        TakeField();
        Require(reader_.length_ <= maxTextLength);
        std::string text;
        while (text.size() < reader_.length_) {
            const std::size_t start = text.size();
            text.resize(start + std::min<std::size_t>(reader_.length_ - start, blockSize));
            Take(std::span(text).subspan(start));
        }
        return text;
    }

    void ReadObject(tgio_cTaggedStreamObject& object) {
        TakeField();
        const std::uint64_t beyond = reader_.left_ - reader_.length_;
        reader_.left_ = reader_.length_;
        EnterObject();
        Require(TakeWord<std::uint16_t>() == object.ObjectType().Number());
        Require(object.Read(reader_) && reader_.IsGood());
        while (FindField()) {
        }
        LeaveObject();
        reader_.left_ = beyond;
    }

    void SkipValue() {
        TakeField();
        std::array<char, blockSize> block;
        for (std::uint64_t left = reader_.length_; left > 0;) {
            const std::uint64_t part = std::min(left, blockSize);
            Take(std::span(block).first(part));
            left -= part;
        }
    }

    void TakeField() {
        Require(reader_.pending_ || FindField());
        reader_.pending_ = false;
    }

    void Take(std::span<char> bytes) {
        const auto count = static_cast<std::streamsize>(bytes.size());
        Require(bytes.size() <= reader_.left_ &&
                reader_.stream_.rdbuf()->sgetn(bytes.data(), count) == count);
        reader_.left_ -= bytes.size();
    }

private:
    template<std::unsigned_integral Word>
    Word TakeWord() {
        std::array<char, sizeof(Word)> bytes;
        Take(bytes);
        Word word = 0;
        for (std::size_t i = 0; i < sizeof(Word); ++i)
            word = static_cast<Word>(word | Word{static_cast<unsigned char>(bytes[i])} << 8 * i);
        return word;
    }

    tgio_cBinary_istream& reader_;
};

type_cBoolean tgio_cBinary_istream::NextField() noexcept {
    cParser parser(*this);
    bool found = false;
    return parser.Attempt([&] { found = parser.FindField(); }) && found;
}

type_cBoolean tgio_cBinary_istream::Read(double& value) noexcept {
    cParser parser(*this);
    return parser.Attempt([&] { value = std::bit_cast<double>(parser.Value<std::uint64_t>()); });
}

type_cBoolean tgio_cBinary_istream::Read(int& value) noexcept {
    cParser parser(*this);
    return parser.Attempt(
        [&] { value = std::bit_cast<std::int32_t>(parser.Value<std::uint32_t>()); });
}

type_cBoolean tgio_cBinary_istream::Read(bool& value) noexcept {
    cParser parser(*this);
    return parser.Attempt([&] {
        const auto byte = parser.Value<std::uint8_t>();
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
    cParser parser(*this);
    return parser.Attempt([&] { value = str_cString(parser.Text()); });
}

type_cBoolean tgio_cBinary_istream::Read(tgio_cTaggedStreamObject& object) noexcept {
    cParser parser(*this);
    return parser.Attempt([&] { parser.ReadObject(object); });
}

type_cBoolean tgio_cBinary_istream::SkipObject() noexcept {
    cParser parser(*this);
    return parser.Attempt([&] { parser.SkipValue(); });
}

/// Fields as bytes, into the buffer of a writer.
class tgio_cBinary_ostream::cPrinter : public tgio_cSteps {
public:
    explicit cPrinter(tgio_cBinary_ostream& writer) : tgio_cSteps(writer), writer_(writer) {}

    template<std::unsigned_integral Word>
    void PutField(Word value, unsigned short tag) {
        PutWord(tag);
        PutWord(std::uint32_t{sizeof(Word)});
        PutWord(value);
        Deliver();
    }

    void PutText(std::string_view text, unsigned short tag) {
        PutWord(tag);
        PutWord(static_cast<std::uint32_t>(text.size()));
        writer_.buffer_ += text;
        Deliver();
    }

    void PutObject(const tgio_cTaggedStreamObject& object, unsigned short tag) {
        std::string& buffer = writer_.buffer_;
        PutWord(tag);
        const std::size_t lengthPlace = buffer.size();
        PutWord(std::uint32_t{0});
        const std::size_t start = buffer.size();
        PutWord(object.ObjectType().Number());
        EnterObject();
        Require(object.Write(writer_) && writer_.IsGood());
        LeaveObject();
        const std::size_t length = buffer.size() - start + writer_.last_.size();
        Require(length <= UINT32_MAX);
        std::ranges::copy(LittleEndian(static_cast<std::uint32_t>(length)),
                          buffer.begin() + static_cast<std::ptrdiff_t>(lengthPlace));
        Deliver();
    }

    void PutLast(std::span<const std::byte> bytes, unsigned short tag) {
        Require(bytes.size() <= UINT32_MAX);
        PutWord(tag);
        PutWord(static_cast<std::uint32_t>(bytes.size()));
        if (Depth() == 1)
            writer_.last_ = bytes;
        else
            writer_.buffer_.append(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    }

private:
    template<std::unsigned_integral Word>
    void PutWord(Word word) {
        const std::array<char, sizeof(Word)> bytes = LittleEndian(word);
        writer_.buffer_.append(bytes.data(), bytes.size());
    }

    void Deliver() {
        if (Depth() > 0)
            return;
        DeliverTo(writer_.stream_, writer_.buffer_);
        const std::span<const std::byte> last = std::exchange(writer_.last_, {});
        writer_.stream_.write(reinterpret_cast<const char*>(last.data()),
                              static_cast<std::streamsize>(last.size()));
        Require(!writer_.stream_.fail());
    }

    tgio_cBinary_ostream& writer_;
};

type_cBoolean tgio_cBinary_ostream::Write(double value, unsigned short tag) noexcept {
    cPrinter printer(*this);
    return printer.Attempt([&] { printer.PutField(std::bit_cast<std::uint64_t>(value), tag); });
}

type_cBoolean tgio_cBinary_ostream::Write(int value, unsigned short tag) noexcept {
    cPrinter printer(*this);
    return printer.Attempt([&] { printer.PutField(std::bit_cast<std::uint32_t>(value), tag); });
}

type_cBoolean tgio_cBinary_ostream::Write(type_cBoolean value, unsigned short tag) noexcept {
    cPrinter printer(*this);
    return printer.Attempt(
        [&] { printer.PutField(static_cast<std::uint8_t>(value ? 1 : 0), tag); });
}

type_cBoolean tgio_cBinary_ostream::Write(const str_cString& value, unsigned short tag) noexcept {
    cPrinter printer(*this);
    return printer.Attempt([&] { printer.PutText(Bytes(value), tag); });
}

type_cBoolean tgio_cBinary_ostream::Write(const tgio_cTaggedStreamObject& object,
                                          unsigned short tag) noexcept {
    cPrinter printer(*this);
    return printer.Attempt([&] { printer.PutObject(object, tag); });
}

bool dataprocessing::detail::tgio_cBlocks::WriteLast(tgio_cBinary_ostream& stream,
                                                     std::span<const std::byte> bytes,
                                                     unsigned short tag) noexcept {
    tgio_cBinary_ostream::cPrinter printer(stream);
    return printer.Attempt([&] { printer.PutLast(bytes, tag); });
}

std::uint32_t
dataprocessing::detail::tgio_cBlocks::Length(const tgio_cBinary_istream& stream) noexcept {
    return stream.length_;
}

bool dataprocessing::detail::tgio_cBlocks::Begin(tgio_cBinary_istream& stream) noexcept {
    tgio_cBinary_istream::cParser parser(stream);
    return parser.Attempt([&] { parser.TakeField(); });
}

bool dataprocessing::detail::tgio_cBlocks::ReadPart(tgio_cBinary_istream& stream,
                                                    std::span<std::byte> bytes) noexcept {
    tgio_cBinary_istream::cParser parser(stream);
    return parser.Attempt([&] {
        parser.Take({reinterpret_cast<char*>(bytes.data()), bytes.size()});
    });
}

bool dataprocessing::detail::tgio_cBlocks::IsOutOfMemory(const tgio_cStream& stream) noexcept {
    return stream.isOutOfMemory_;
}
