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

} // namespace

int tgio_cASCII_istream::Peek() const { return stream_.rdbuf()->sgetc(); }

int tgio_cASCII_istream::Take() { return stream_.rdbuf()->sbumpc(); }

void tgio_cASCII_istream::SkipBlanks() {
    while (IsBlank(Peek()))
        Take();
}

// Every field ends with its newline: without it "12" could be the beginning of "123".
void tgio_cASCII_istream::EndLine() {
    SkipBlanks();
    Require(Take() == '\n');
}

tgio_cASCII_istream::sToken tgio_cASCII_istream::Token() {
    SkipBlanks();
    if (Peek() == '"')
        return {Quoted(), true};
    std::string word;
    while (IsWordCharacter(Peek()))
        word += Traits::to_char_type(Take());
    Require(!word.empty() && word.size() <= maxTextLength);
    return {std::move(word), false};
}

std::string tgio_cASCII_istream::Quoted() {
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

bool tgio_cASCII_istream::FindField() {
    if (pending_)
        SkipValue();
    Require(!stream_.fail());
    while (IsBlank(Peek()) || Peek() == '\n')
        Take();
    if (Peek() == (Depth() == 0 ? Traits::eof() : '}'))
        return false;
    name_ = Token().text;
    pending_ = true;
    return true;
}

void tgio_cASCII_istream::TakeField() {
    Require(pending_ || FindField());
    pending_ = false;
}

tgio_cASCII_istream::sToken tgio_cASCII_istream::Atom() {
    TakeField();
    sToken token = Token();
    EndLine();
    return token;
}

bool tgio_cASCII_istream::OpensObject() {
    SkipBlanks();
    return Peek() == '{';
}

void tgio_cASCII_istream::OpenObject() {
    Take();
    EndLine();
    EnterObject();
}

void tgio_cASCII_istream::CloseObject() {
    Take();
    EndLine();
    LeaveObject();
}

void tgio_cASCII_istream::SkipValue() {
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

type_cBoolean tgio_cASCII_istream::NextField() noexcept {
    bool found = false;
    return Attempt([&] { found = FindField(); }) && found;
}

type_cBoolean tgio_cASCII_istream::Read(double& value) noexcept {
    return Attempt([&] {
        const sToken token = Atom();
        Require(!token.quoted);
        value = ParseDouble(token.text);
    });
}

type_cBoolean tgio_cASCII_istream::Read(int& value) noexcept {
    return Attempt([&] {
        const sToken token = Atom();
        Require(!token.quoted);
        value = Parse<int>(token.text);
    });
}

type_cBoolean tgio_cASCII_istream::Read(bool& value) noexcept {
    return Attempt([&] {
        const sToken token = Atom();
        Require(!token.quoted && (token.text == "true" || token.text == "false"));
        value = token.text == "true";
    });
}

type_cBoolean tgio_cASCII_istream::Read(type_cBoolean& value) noexcept {
    bool truth = value;
    const bool ok = Read(truth);
    value = truth;
    return ok;
}

type_cBoolean tgio_cASCII_istream::Read(str_cString& value) noexcept {
    return Attempt([&] {
        sToken token = Atom();
        Require(token.quoted);
        value = str_cString(std::move(token.text));
    });
}

type_cBoolean tgio_cASCII_istream::Read(tgio_cTaggedStreamObject& object) noexcept {
    return Attempt([&] {
        TakeField();
        Require(Token().text == Bytes(object.ObjectType().Name()) && OpensObject());
        OpenObject();
        Require(object.Read(*this) && IsGood());
        while (FindField()) {
        }
        CloseObject();
    });
}

type_cBoolean tgio_cASCII_istream::SkipObject() noexcept {
    return Attempt([&] { SkipValue(); });
}

void tgio_cASCII_ostream::PutIndent() {
    constexpr std::size_t width = 4;
    buffer_.append(width * static_cast<std::size_t>(Depth()), ' ');
}

void tgio_cASCII_ostream::PutName(const str_cString& name) {
    PutIndent();
    buffer_ += PrintName(name);
    buffer_ += ' ';
}

void tgio_cASCII_ostream::PutField(std::string_view value, const str_cString& name) {
    PutName(name);
    buffer_ += value;
    buffer_ += '\n';
    Deliver();
}

void tgio_cASCII_ostream::Deliver() {
    if (Depth() == 0)
        DeliverTo(stream_, buffer_);
}

type_cBoolean tgio_cASCII_ostream::Write(double value, const str_cString& name,
                                         type_cBoolean hexadecimal) noexcept {
    return Attempt([&] { PutField(PrintDouble(value, hexadecimal), name); });
}

type_cBoolean tgio_cASCII_ostream::Write(int value, const str_cString& name) noexcept {
    return Attempt([&] { PutField(Print(value), name); });
}

type_cBoolean tgio_cASCII_ostream::Write(type_cBoolean value, const str_cString& name) noexcept {
    return Attempt([&] { PutField(value ? "true" : "false", name); });
}

type_cBoolean tgio_cASCII_ostream::Write(const str_cString& value,
                                         const str_cString& name) noexcept {
    return Attempt([&] { PutField(PrintText(Bytes(value)), name); });
}

type_cBoolean tgio_cASCII_ostream::Write(const tgio_cTaggedStreamObject& object,
                                         const str_cString& name) noexcept {
    return Attempt([&] {
        PutName(name);
        buffer_ += PrintName(object.ObjectType().Name());
        buffer_ += " {\n";
        EnterObject();
        Require(object.Write(*this) && IsGood());
        LeaveObject();
        PutIndent();
        buffer_ += "}\n";
        Deliver();
    });
}
