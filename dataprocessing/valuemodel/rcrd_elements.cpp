#include "dataprocessing/valuemodel/rcrd_elements.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>
#include <system_error>
#include <utility>

#include "dataprocessing/base/dtyp_visit.h"
#include "dataprocessing/exchange/tgio_attempt.h"

namespace dataprocessing::detail {

namespace {

/// What may be allocated before anything has arrived.
constexpr std::size_t firstRoom = std::size_t{1} << 20;
/// How many times what has arrived may be allocated.
constexpr std::size_t growth = 4;

/// Numbers in a line of text.
constexpr int lineLength = 16;

constexpr std::array<std::string_view, 11> typeNames = {
    "",      "UInt8", "UInt16", "UInt32",       "Int8",         "Int16",
    "Int32", "Float", "Double", "ComplexFloat", "ComplexDouble"};

template<class Number>
void printNumber(std::string& line, Number number) {
    std::array<char, 32> text;
    line.append(text.data(), std::to_chars(text.data(), text.data() + text.size(), number).ptr);
}

template<class T>
void printElement(std::string& line, const T& element) {
    if constexpr (isComplex<T>) {
        printNumber(line, element.re);
        line += ',';
        printNumber(line, element.im);
    } else {
        printNumber(line, element);
    }
}

template<class Number>
Number takeNumber(std::string_view& text) {
    Number number{};
    const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    Require(error == std::errc{});
    text.remove_prefix(static_cast<std::size_t>(stop - text.data()));
    return number;
}

template<class T>
T takeElement(std::string_view& text) {
    if constexpr (isComplex<T>) {
        T element;
        element.re = takeNumber<decltype(element.re)>(text);
        Require(text.starts_with(','));
        text.remove_prefix(1);
        element.im = takeNumber<decltype(element.im)>(text);
        return element;
    } else {
        return takeNumber<T>(text);
    }
}

void skipBlanks(std::string_view& text) {
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
}

} // namespace

void rcrd_cRoom::Grow() {
    const std::size_t next = std::max(firstRoom, growth * have_);
    if (next >= total_) {
        all_ = make_();
        isMade_ = true;
        capacity_ = total_;
        if (have_ > 0)
            std::memcpy(all_, early_.Data(), have_);
        early_ = mem_cBlock();
    } else {
        mem_cBlock larger(next);
        if (have_ > 0)
            std::memcpy(larger.Data(), early_.Data(), have_);
        early_ = std::move(larger);
        capacity_ = next;
    }
}

std::span<std::byte> rcrd_cRoom::Next() {
    if (have_ == total_)
        return {};
    if (have_ == capacity_)
        Grow();
    auto* const bytes = static_cast<std::byte*>(isMade_ ? all_ : early_.Data());
    return {bytes + have_, capacity_ - have_};
}

void rcrd_cRoom::Put(std::span<const std::byte> bytes) {
    const std::span<std::byte> next = Next();
    Require(next.size() >= bytes.size());
    std::memcpy(next.data(), bytes.data(), bytes.size());
    Took(bytes.size());
}

bool rcrd_cRoom::IsFull() {
    if (have_ == total_ && !isMade_)
        Grow();
    return have_ == total_;
}

std::string_view rcrd_NameOf(dtyp_cDataType type) noexcept {
    return type.IsKnown() ? typeNames[static_cast<std::size_t>(type.Code())] : typeNames[0];
}

dtyp_cDataType rcrd_TypeOf(std::string_view name) noexcept {
    const auto* const found = std::ranges::find(typeNames, name);
    return dtyp_cDataType(found == typeNames.end() ? 0
                                                   : static_cast<int>(found - typeNames.begin()));
}

void rcrd_PrintLines(const rcrd_sElements& elements,
                     const std::function<void(const std::string& line)>& put) {
    dtyp_Visit(elements.type, [&]<class T>(dtyp_Tag<T>) {
        const T* element = static_cast<const T*>(elements.data);
        std::string line;
        for (int y = 0; y < elements.rows; ++y)
            for (int x = 0; x < elements.columns;) {
                const int end = std::min(elements.columns - x, lineLength) + x;
                line.clear();
                for (; x < end; ++x) {
                    if (!line.empty())
                        line += ' ';
                    printElement(line, *element++);
                }
                put(line);
            }
    });
}

void rcrd_ParseLine(std::string_view line, dtyp_cDataType type,
                    const std::function<void(std::span<const std::byte> element)>& put) {
    dtyp_Visit(type, [&]<class T>(dtyp_Tag<T>) {
        for (skipBlanks(line); !line.empty(); skipBlanks(line)) {
            const T element = takeElement<T>(line);
            Require(line.empty() || line.starts_with(' '));
            put(std::as_bytes(std::span(&element, 1)));
        }
    });
}

void rcrd_TurnBytes(std::span<std::byte> bytes, std::size_t size) noexcept {
    for (; bytes.size() >= size; bytes = bytes.subspan(size))
        std::ranges::reverse(bytes.first(size));
}

std::size_t rcrd_WordSize(dtyp_cDataType type) noexcept {
    return type.IsComplex() ? type.SizeOf() / 2 : type.SizeOf();
}

} // namespace dataprocessing::detail
