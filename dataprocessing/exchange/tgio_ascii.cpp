#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <istream>
#include <system_error>
#include <utility>

#include "dataprocessing/exchange/tgio_attempt.h"

using dataprocessing::detail::Bytes;
using dataprocessing::detail::DeliverTo;
using dataprocessing::detail::maxTextLength;
using dataprocessing::detail::Require;
using dataprocessing::detail::tgio_cSteps;

namespace {

using Traits = std::char_traits<char>;

constexpr std::string_view hexDigits = "0123456789abcdef";

// The <cctype> functions would ask the locale.
bool IsWordCharacter(int c) {
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_' ||
           c == '.' || c == '+' || c == '-';
}

bool IsBlank(int c) { return c == ' ' || c == '\t' || c == '\r'; }

bool IsControl(int c) { return c < 0x20 || c == 0x7f; }

unsigned HexDigit(int c) {
    const std::size_t digit =
        c == Traits::eof() ? hexDigits.npos : hexDigits.find(Traits::to_char_type(c));
    Require(digit != hexDigits.npos);
    return static_cast<unsigned>(digit);
}

template<class Number, class... Format>
Number Parse(std::string_view word, Format... format) {
    Number value{};
    const char* const end = word.data() + word.size();
    const auto [stop, error] = std::from_chars(word.data(), end, value, format...);
    Require(error == std::errc{} && stop == end);
    return value;
}

double ParseDouble(std::string_view word) {
    const bool negative = word.starts_with('-');
    const std::string_view magnitude = word.substr(negative ? 1 : 0);
    if (!magnitude.starts_with("0x"))
        return Parse<double>(word);
    // What follows the prefix must not be a second sign, an infinity or a NaN.
    HexDigit(magnitude.size() > 2 ? Traits::to_int_type(magnitude[2]) : Traits::eof());
    const double value = Parse<double>(magnitude.substr(2), std::chars_format::hex);
    return negative ? -value : value;
}

template<class Number, class... Format>
std::string Print(Number value, Format... format) {
    std::array<char, 32> text;
    const auto [end, error] =
        std::to_chars(text.data(), text.data() + text.size(), value, format...);
    Require(error == std::errc{});
    return {text.data(), end};
}

std::string PrintDouble(double value, bool hexadecimal) {
    if (!hexadecimal || !std::isfinite(value))
        return Print(value);
    return (std::signbit(value) ? "-0x" : "0x") + Print(std::abs(value), std::chars_format::hex);
}

std::string PrintText(std::string_view text) {
    std::string quoted = "\"";
    for (const char c : text) {
        const int byte = Traits::to_int_type(c);
        if (c == '\n') {
            quoted += "\\n";
        } else if (IsControl(byte)) {
            quoted += "\\x";
            quoted += hexDigits[static_cast<std::size_t>(byte) >> 4];
            quoted += hexDigits[static_cast<std::size_t>(byte) & 15];
        } else {
            if (c == '"' || c == '\\')
                quoted += '\\';
            quoted += c;
        }
    }
    return quoted + '"';
}

std::string PrintName(const str_cString& name) {
    const std::string_view text = Bytes(name);
    const bool bare = !text.empty() && std::ranges::all_of(text, [](char c) {
        return IsWordCharacter(Traits::to_int_type(c));
    });
    return bare ? std::string(text) : PrintText(text);
}

struct sToken {
    std::string text;
    bool quoted = false;
};

} // namespace

/// The grammar, over the bytes and the state of a reader.
class tgio_cASCII_istream::cParser : public tgio_cSteps {
public:
    explicit cParser(tgio_cASCII_istream& reader)
        : tgio_cSteps(reader), reader_(reader), bytes_(reader.stream_.rdbuf()) {}

    bool FindField() {
        if (reader_.pending_)
            SkipValue();
        Require(!reader_.stream_.fail());
        while (IsBlank(Peek()) || Peek() == '\n')
            Take();
        if (Peek() == (Depth() == 0 ? Traits::eof() : '}'))
            return false;
        reader_.name_ = Token().text;
        reader_.pending_ = true;
        return true;
    }

    /// The word or the text that is the value of the current field.
    std::string Value(bool quoted) {
        TakeField();
        sToken token = Token();
        EndLine();
        Require(token.quoted == quoted);
        return std::move(token.text);
    }

    void ReadObject(tgio_cTaggedStreamObject& object) {
        TakeField();
        Require(Token().text == Bytes(object.ObjectType().Name()) && OpensObject());
        OpenObject();
        Require(object.Read(reader_) && reader_.IsGood());
        while (FindField()) {
        }
        CloseObject();
    }

    void SkipValue() {
        const int level = Depth();
        do {
            TakeField();
            Token();
            if (OpensObject())
                OpenObject();
            else
                EndLine();
            while (Depth() > level && !FindField())
                CloseObject();
        } while (Depth() > level);
    }

private:
    int Peek() { return bytes_->sgetc(); }
    int Take() { return bytes_->sbumpc(); }

    void SkipBlanks() {
        while (IsBlank(Peek()))
            Take();
    }

    // Every field ends with its newline: without it "12" could be the beginning of "123".
    void EndLine() {
        SkipBlanks();
        Require(Take() == '\n');
    }

    sToken Token() {
        SkipBlanks();
        if (Peek() == '"')
            return {Quoted(), true};
        std::string word;
        while (IsWordCharacter(Peek()))
            word += Traits::to_char_type(Take());
        Require(!word.empty() && word.size() <= maxTextLength);
        return {std::move(word), false};
    }

    std::string Quoted() {
        std::string text;
        Take();
        for (int c = Take(); c != '"'; c = Take()) {
            Require(!IsControl(c) && text.size() < maxTextLength);
            if (c == '\\') {
                c = Take();
                if (c == 'n') {
                    c = '\n';
                } else if (c == 'x') {
                    const unsigned high = HexDigit(Take());
                    c = static_cast<int>(high << 4 | HexDigit(Take()));
                } else {
                    Require(c == '"' || c == '\\');
                }
            }
            text += Traits::to_char_type(c);
        }
        return text;
    }

    void TakeField() {
        Require(reader_.pending_ || FindField());
        reader_.pending_ = false;
    }

    bool OpensObject() {
        SkipBlanks();
        return Peek() == '{';
    }
    void OpenObject() {
        Take();
        EndLine();
        EnterObject();
    }
    void CloseObject() {
        Take();
        SkipBlanks();
        // Nothing can be missing after the last brace of all but its newline.
        if (Depth() > 1 || Peek() != Traits::eof())
            EndLine();
        LeaveObject();
    }

    tgio_cASCII_istream& reader_;
    std::streambuf* bytes_;
};

type_cBoolean tgio_cASCII_istream::NextField() noexcept {
    cParser parser(*this);
    bool found = false;
    return parser.Attempt([&] { found = parser.FindField(); }) && found;
}

type_cBoolean tgio_cASCII_istream::Read(double& value) noexcept {
    cParser parser(*this);
    return parser.Attempt([&] { value = ParseDouble(parser.Value(false)); });
}

type_cBoolean tgio_cASCII_istream::Read(int& value) noexcept {
    cParser parser(*this);
    return parser.Attempt([&] { value = Parse<int>(parser.Value(false)); });
}

type_cBoolean tgio_cASCII_istream::Read(bool& value) noexcept {
    cParser parser(*this);
    return parser.Attempt([&] {
        const std::string word = parser.Value(false);
        Require(word == "true" || word == "false");
        value = word == "true";
    });
}

type_cBoolean tgio_cASCII_istream::Read(type_cBoolean& value) noexcept {
    bool truth = value;
    const bool ok = Read(truth);
    value = truth;
    return ok;
}

type_cBoolean tgio_cASCII_istream::Read(str_cString& value) noexcept {
    cParser parser(*this);
    return parser.Attempt([&] { value = str_cString(parser.Value(true)); });
}

type_cBoolean tgio_cASCII_istream::Read(tgio_cTaggedStreamObject& object) noexcept {
    cParser parser(*this);
    return parser.Attempt([&] { parser.ReadObject(object); });
}

type_cBoolean tgio_cASCII_istream::SkipObject() noexcept {
    cParser parser(*this);
    return parser.Attempt([&] { parser.SkipValue(); });
}

/// Fields as text, into the buffer of a writer.
class tgio_cASCII_ostream::cPrinter : public tgio_cSteps {
public:
    explicit cPrinter(tgio_cASCII_ostream& writer) : tgio_cSteps(writer), writer_(writer) {}

    void PutField(std::string_view value, const str_cString& name) {
        PutName(name);
        writer_.buffer_ += value;
        writer_.buffer_ += '\n';
        Deliver();
    }

    void PutObject(const tgio_cTaggedStreamObject& object, const str_cString& name) {
        PutName(name);
        writer_.buffer_ += PrintName(object.ObjectType().Name());
        writer_.buffer_ += " {\n";
        EnterObject();
        Require(object.Write(writer_) && writer_.IsGood());
        LeaveObject();
        PutIndent();
        writer_.buffer_ += "}\n";
        Deliver();
    }

private:
    void PutIndent() {
        constexpr std::size_t width = 4;
        writer_.buffer_.append(width * static_cast<std::size_t>(Depth()), ' ');
    }
    void PutName(const str_cString& name) {
        PutIndent();
        writer_.buffer_ += PrintName(name);
        writer_.buffer_ += ' ';
    }
    void Deliver() {
        if (Depth() == 0)
            DeliverTo(writer_.stream_, writer_.buffer_);
    }

    tgio_cASCII_ostream& writer_;
};

type_cBoolean tgio_cASCII_ostream::Write(double value, const str_cString& name,
                                         type_cBoolean hexadecimal) noexcept {
    cPrinter printer(*this);
    return printer.Attempt([&] { printer.PutField(PrintDouble(value, hexadecimal), name); });
}

type_cBoolean tgio_cASCII_ostream::Write(int value, const str_cString& name) noexcept {
    cPrinter printer(*this);
    return printer.Attempt([&] { printer.PutField(Print(value), name); });
}

type_cBoolean tgio_cASCII_ostream::Write(type_cBoolean value, const str_cString& name) noexcept {
    cPrinter printer(*this);
    return printer.Attempt([&] { printer.PutField(value ? "true" : "false", name); });
}

type_cBoolean tgio_cASCII_ostream::Write(const str_cString& value,
                                         const str_cString& name) noexcept {
    cPrinter printer(*this);
    return printer.Attempt([&] { printer.PutField(PrintText(Bytes(value)), name); });
}

type_cBoolean tgio_cASCII_ostream::Write(const tgio_cTaggedStreamObject& object,
                                         const str_cString& name) noexcept {
    cPrinter printer(*this);
    return printer.Attempt([&] { printer.PutObject(object, name); });
}
