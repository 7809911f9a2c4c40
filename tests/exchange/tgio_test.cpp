#include "dataprocessing/exchange/tgio.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <locale>
#include <random>
#include <sstream>
#include <stdexcept>
#include <streambuf>
#include <string>
#include <vector>

#include "dataprocessing/exchange/obty.h"
#include "tests/exchange/tgio_sample.h"
#include "tests/failing_new.h"
#include "tests/support/constants.h"

namespace {

constexpr double smallest = std::numeric_limits<double>::denorm_min();
constexpr double largest = std::numeric_limits<double>::max();

std::uint64_t Bits(double value) { return std::bit_cast<std::uint64_t>(value); }

str_cString Text(std::string bytes) { return {std::move(bytes)}; }

std::string AllBytes() {
    std::string text;
    for (int c = 0; c < 256; ++c)
        text += static_cast<char>(c);
    return text;
}

template<class Format, class Value>
std::string Written(const Value& value, sField field = childField) {
    std::ostringstream bytes;
    typename Format::Out out(bytes);
    EXPECT_TRUE(Format::Write(out, value, field));
    return bytes.str();
}

// Reads one value from `bytes`.
template<class Format, class Value>
bool ReadFrom(const std::string& bytes, Value& value) {
    std::istringstream stream(bytes);
    typename Format::In in(stream);
    const bool ok = in.Read(value);
    EXPECT_EQ(in.IsGood(), ok);
    return ok;
}

cSample MakeSample() {
    cSample sample;
    sample.value = 0.1;
    sample.count = -7;
    sample.valid = true;
    sample.unit = "keV";
    cSample& child = sample.children.emplace_back();
    child.value = -0.0;
    child.unit = Text("a \"b\" {\n}\\");
    child.children.emplace_back().value = smallest;
    sample.children.emplace_back().count = 3;
    return sample;
}

// Hands out `bytes`, then throws; takes `room` bytes, then refuses or throws.
class cBrittleBuffer : public std::streambuf {
public:
    cBrittleBuffer(std::string bytes, std::streamsize room, bool throws)
        : bytes_(std::move(bytes)), room_(room), throws_(throws) {
        setg(bytes_.data(), bytes_.data(), bytes_.data() + bytes_.size());
    }

    std::streamsize Room() const { return room_; }

private:
    int_type underflow() override { return Refuse(); }
    int_type overflow(int_type c) override { return room_-- > 0 ? c : Refuse(); }

    int_type Refuse() const {
        if (throws_)
            throw std::runtime_error("device");
        return traits_type::eof();
    }

    std::string bytes_;
    std::streamsize room_;
    bool throws_;
};

class cDecimalComma : public std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

class cNamed : public tgio_cNamedTaggedStreamObject {
public:
    explicit cNamed(const str_cString& name) : tgio_cNamedTaggedStreamObject(name) {}
    cNamed() = default;
};

// Adds a field to those of its base by taking part in its loop.
class cPeak : public tgio_cNamedTaggedStreamObject {
public:
    double height = 0;

    const tgio_cObjectType& ObjectType() const override {
        static const tgio_cObjectType type("Peak", 5001);
        return type;
    }

private:
    using Base = tgio_cNamedTaggedStreamObject;

    type_cBoolean ReadData(tgio_cASCII_istream& in, const str_cString& name) override {
        return name == "Height" ? in.Read(height) : Base::ReadData(in, name);
    }
    type_cBoolean ReadData(tgio_cBinary_istream& in, unsigned short tag) override {
        return tag == 256 ? in.Read(height) : Base::ReadData(in, tag);
    }
    type_cBoolean Write(tgio_cASCII_ostream& out) const override {
        return Base::Write(out) && out.Write(height, "Height", false);
    }
    type_cBoolean Write(tgio_cBinary_ostream& out) const override {
        return Base::Write(out) && out.Write(height, 256);
    }
};

// An object whose reading and writing end the way that `Fails` says.
template<class Fails>
class cFailing : public tgio_cTaggedStreamObject {
public:
    const tgio_cObjectType& ObjectType() const override {
        static const tgio_cObjectType type("Sample", 5000);
        return type;
    }

private:
    type_cBoolean Read(tgio_cASCII_istream&) override { return Fails()(); }
    type_cBoolean Read(tgio_cBinary_istream&) override { return Fails()(); }
    type_cBoolean Write(tgio_cASCII_ostream& out) const override {
        return out.Write(1, "Count") && Fails()();
    }
    type_cBoolean Write(tgio_cBinary_ostream& out) const override {
        return out.Write(1, 257) && Fails()();
    }
};

struct sRefuses {
    bool operator()() const { return false; }
};
struct sThrows {
    bool operator()() const { throw std::runtime_error("object"); }
};

// Reads and writes with no regard for failures, and claims success.
class cCareless : public cSample {
    type_cBoolean Write(tgio_cASCII_ostream& out) const override {
        out.Write(unit, "Unit");
        return true;
    }
    type_cBoolean Write(tgio_cBinary_ostream& out) const override {
        out.Write(unit, 259);
        return true;
    }
    type_cBoolean Read(tgio_cASCII_istream& in) override {
        in.Read(count);
        return true;
    }
    type_cBoolean Read(tgio_cBinary_istream& in) override {
        in.Read(count);
        return true;
    }
};

// Leaves all of its fields, the first of them current.
class cLeaving : public cSample {
    type_cBoolean Read(tgio_cASCII_istream& in) override { return in.NextField(); }
    type_cBoolean Read(tgio_cBinary_istream& in) override { return in.NextField(); }
};

// Knows no field of its own.
class cFieldless : public tgio_cTaggedStreamObject {
public:
    const tgio_cObjectType& ObjectType() const override {
        static const tgio_cObjectType type("Sample", 5000);
        return type;
    }

private:
    type_cBoolean Write(tgio_cASCII_ostream&) const override { return true; }
    type_cBoolean Write(tgio_cBinary_ostream&) const override { return true; }
};

// Wants one field more than it wrote.
class cGreedy : public cNamed {
    type_cBoolean Read(tgio_cASCII_istream& in) override { return ReadTwo(in); }
    type_cBoolean Read(tgio_cBinary_istream& in) override { return ReadTwo(in); }

    static bool ReadTwo(auto& in) {
        str_cString name;
        int next = 0;
        return in.Read(name) && in.Read(next);
    }
};

template<class Format>
class TaggedStream : public testing::Test {};

struct sFormatName {
    template<class Format>
    static std::string GetName(int) {
        return std::is_same_v<Format, sAscii> ? "ASCII" : "Binary";
    }
};
using Formats = testing::Types<sAscii, sBinary>;
TYPED_TEST_SUITE(TaggedStream, Formats, sFormatName);

std::vector<double> TryingDoubles() {
    std::vector<double> values = {0.0,
                                  -0.0,
                                  1.0,
                                  -1.0,
                                  0.1,
                                  1.0 / 3,
                                  1e22,
                                  1e23,
                                  123456789012345680.0,
                                  smallest,
                                  -smallest,
                                  std::numeric_limits<double>::min(),
                                  std::nextafter(std::numeric_limits<double>::min(), 0.0),
                                  largest,
                                  -largest,
                                  infinity,
                                  -infinity,
                                  type_Pi,
                                  type_MinValue};
    std::mt19937_64 random(11);
    for (int i = 0; i < 20000; ++i) {
        const double value = std::bit_cast<double>(random());
        if (!std::isnan(value))
            values.push_back(value);
        values.push_back(value * 0.0 == 0.0 ? std::round(std::fmod(value, 1e6)) : 0.5);
        values.push_back(std::bit_cast<double>(random() >> 12)); // subnormal
    }
    return values;
}

} // namespace

TYPED_TEST(TaggedStream, DoublesRoundTripBitForBit) {
    for (const double value : TryingDoubles()) {
        double back = 42;
        ASSERT_TRUE(ReadFrom<TypeParam>(Written<TypeParam>(value), back)) << value;
        ASSERT_EQ(Bits(back), Bits(value)) << value;
    }
}

TYPED_TEST(TaggedStream, NaNStaysNaN) {
    for (const double value : {notANumber, -notANumber}) {
        double back = 42;
        EXPECT_TRUE(ReadFrom<TypeParam>(Written<TypeParam>(value), back));
        EXPECT_TRUE(std::isnan(back));
    }
}

TYPED_TEST(TaggedStream, IntsRoundTrip) {
    for (const int value : {0, 1, -1, 255, 256, -256, 65536, 123456789,
                            std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
        int back = 42;
        EXPECT_TRUE(ReadFrom<TypeParam>(Written<TypeParam>(value), back));
        EXPECT_EQ(back, value);
    }
}

TYPED_TEST(TaggedStream, TruthsRoundTripInBothTypes) {
    for (const bool value : {false, true}) {
        bool back = !value;
        EXPECT_TRUE(ReadFrom<TypeParam>(Written<TypeParam>(value), back));
        EXPECT_EQ(back, value);
        type_cBoolean other = !value;
        EXPECT_TRUE(ReadFrom<TypeParam>(Written<TypeParam>(type_cBoolean(value)), other));
        EXPECT_EQ(bool(other), value);
    }
}

TYPED_TEST(TaggedStream, TextsOfAnyBytesRoundTrip) {
    std::vector<std::string> texts = {"",
                                      "x",
                                      "two words",
                                      "\"",
                                      "\\",
                                      "\\n",
                                      "\\x",
                                      "\n}",
                                      "{\n",
                                      "true",
                                      AllBytes(),
                                      "\xc3\xa9",
                                      " x ",
                                      "\\",
                                      "\\\"",
                                      "a\r\nb",
                                      std::string(1, '\0'),
                                      std::string(100000, 'y')};
    for (int c = 0; c < 256; ++c)
        texts.emplace_back(1, static_cast<char>(c));
    for (const std::size_t size : {4095u, 4096u, 4097u, 8192u})
        texts.emplace_back(size, 'z');
    std::mt19937 random(12);
    for (int i = 0; i < 1000; ++i) {
        std::string& text = texts.emplace_back(random() % 40, ' ');
        for (char& c : text)
            c = static_cast<char>(random() % 256);
    }
    for (const std::string& text : texts) {
        str_cString back = "unread";
        ASSERT_TRUE(ReadFrom<TypeParam>(Written<TypeParam>(Text(text)), back)) << text;
        ASSERT_EQ(back, Text(text));
    }
}

TYPED_TEST(TaggedStream, ObjectsRoundTripWithTheirNestedObjects) {
    const cSample sample = MakeSample();
    cSample back;
    ASSERT_TRUE(ReadFrom<TypeParam>(Written<TypeParam>(sample), back));
    EXPECT_EQ(back.value, 0.1);
    EXPECT_EQ(back.count, -7);
    EXPECT_TRUE(back.valid);
    EXPECT_EQ(back.unit, "keV");
    ASSERT_EQ(back.children.size(), 2u);
    EXPECT_EQ(Bits(back.children[0].value), Bits(-0.0));
    EXPECT_EQ(back.children[0].unit, Text("a \"b\" {\n}\\"));
    ASSERT_EQ(back.children[0].children.size(), 1u);
    EXPECT_EQ(back.children[0].children[0].value, smallest);
    EXPECT_EQ(back.children[1].count, 3);
}

/// Of a text, which may do without it.
std::string WithoutLastNewline(std::string stream) {
    if (stream.ends_with("}\n"))
        stream.pop_back();
    return stream;
}

TYPED_TEST(TaggedStream, TruncationAtEveryByteIsRefused) {
    const std::string whole = WithoutLastNewline(Written<TypeParam>(MakeSample()));
    for (std::size_t size = 0; size < whole.size(); ++size) {
        cSample back;
        EXPECT_FALSE(ReadFrom<TypeParam>(whole.substr(0, size), back)) << size;
    }
}

TYPED_TEST(TaggedStream, TruncationIsRefusedWhenSkippingToo) {
    const std::string whole = WithoutLastNewline(Written<TypeParam>(MakeSample()));
    for (std::size_t size = 0; size < whole.size(); ++size) {
        std::istringstream stream(whole.substr(0, size));
        typename TypeParam::In in(stream);
        EXPECT_FALSE(in.SkipObject()) << size;
    }
}

TYPED_TEST(TaggedStream, SkippingTakesExactlyOneObject) {
    std::istringstream stream(Written<TypeParam>(MakeSample()) + Written<TypeParam>(5));
    typename TypeParam::In in(stream);
    int next = 0;
    EXPECT_TRUE(in.SkipObject());
    EXPECT_TRUE(in.Read(next));
    EXPECT_EQ(next, 5);
}

TYPED_TEST(TaggedStream, RandomBytesAreRefusedOrReadNeverMore) {
    std::mt19937 random(13);
    for (int i = 0; i < 20000; ++i) {
        std::string bytes(random() % 200, ' ');
        for (char& c : bytes)
            c = static_cast<char>(random() % (i % 2 == 0 ? 256 : 8));
        cSample sample;
        ASSERT_FALSE(ReadFrom<TypeParam>(bytes, sample));
    }
}

TYPED_TEST(TaggedStream, DamagedRecordsEndWithAnAnswer) {
    const std::string whole = Written<TypeParam>(MakeSample());
    std::mt19937 random(14);
    int refused = 0;
    for (int i = 0; i < 20000; ++i) {
        std::string bytes = whole;
        for (unsigned n = random() % 4 + 1; n > 0; --n) {
            const std::size_t at = random() % bytes.size();
            switch (random() % 3) {
            case 0:
                bytes[at] = static_cast<char>(random() % 256);
                break;
            case 1:
                bytes.erase(at, random() % 8);
                break;
            default:
                bytes.insert(at, bytes.substr(random() % bytes.size(), random() % 16));
                break;
            }
            if (bytes.empty())
                bytes = "?";
        }
        cSample sample;
        if (!ReadFrom<TypeParam>(bytes, sample))
            ++refused;
        else
            ASSERT_FALSE(Written<TypeParam>(sample).empty());
        std::istringstream stream(bytes);
        typename TypeParam::In in(stream);
        while (in.NextField())
            in.SkipObject();
    }
    EXPECT_GT(refused, 10000);
}

TYPED_TEST(TaggedStream, FieldsMayStandInAnyOrder) {
    for (const bool reversed : {false, true}) {
        std::ostringstream bytes;
        typename TypeParam::Out out(bytes);
        EXPECT_TRUE(reversed ? TypeParam::Write(out, 7, countField)
                             : TypeParam::Write(out, 2.5, valueField));
        EXPECT_TRUE(reversed ? TypeParam::Write(out, 2.5, valueField)
                             : TypeParam::Write(out, 7, countField));
        std::istringstream stream(bytes.str());
        typename TypeParam::In in(stream);
        double value = 0;
        int count = 0;
        while (in.NextField())
            EXPECT_TRUE(TypeParam::IsAt(in, valueField) ? in.Read(value) : in.Read(count));
        EXPECT_TRUE(in.IsGood());
        EXPECT_EQ(value, 2.5);
        EXPECT_EQ(count, 7);
    }
}

TYPED_TEST(TaggedStream, FieldsThatNobodyReadsAreSkipped) {
    std::ostringstream bytes;
    typename TypeParam::Out out(bytes);
    EXPECT_TRUE(TypeParam::Write(out, MakeSample(), childField));
    EXPECT_TRUE(TypeParam::Write(out, Text("} \"{\n"), unitField));
    EXPECT_TRUE(TypeParam::Write(out, 4, countField));
    std::istringstream stream(bytes.str());
    typename TypeParam::In in(stream);
    int fields = 0;
    while (in.NextField())
        ++fields;
    EXPECT_EQ(fields, 3);
    EXPECT_TRUE(in.IsGood());
}

TYPED_TEST(TaggedStream, FieldsThatAnObjectLeavesAreSkipped) {
    std::istringstream stream(Written<TypeParam>(MakeSample()) + Written<TypeParam>(5));
    typename TypeParam::In in(stream);
    cLeaving leaving;
    int next = 0;
    EXPECT_TRUE(in.Read(leaving));
    EXPECT_TRUE(in.Read(next));
    EXPECT_EQ(next, 5);
}

TYPED_TEST(TaggedStream, FieldsThatAnObjectDoesNotKnowAreSkipped) {
    std::istringstream stream(Written<TypeParam>(MakeSample()) + Written<TypeParam>(5));
    typename TypeParam::In in(stream);
    cFieldless fieldless;
    int next = 0;
    EXPECT_TRUE(in.Read(fieldless));
    EXPECT_TRUE(in.Read(next));
    EXPECT_EQ(next, 5);
}

TYPED_TEST(TaggedStream, FieldsThatAnObjectDoesNotKnowAreStillChecked) {
    const std::string whole = WithoutLastNewline(Written<TypeParam>(MakeSample()));
    for (std::size_t size = 0; size < whole.size(); ++size) {
        cFieldless fieldless;
        EXPECT_FALSE(ReadFrom<TypeParam>(whole.substr(0, size), fieldless)) << size;
    }
}

TYPED_TEST(TaggedStream, ReadingPastTheLastFieldOfAnObjectIsRefused) {
    std::istringstream stream(Written<TypeParam>(cNamed("x")) + Written<TypeParam>(5));
    typename TypeParam::In in(stream);
    cGreedy greedy;
    EXPECT_FALSE(in.Read(greedy));
}

TYPED_TEST(TaggedStream, AFailureInsideAnObjectIsNotForgotten) {
    const std::string bytes = Written<TypeParam>(MakeSample());
    cCareless careless; // the first field is 0.1, which is no int in either format
    std::istringstream stream(bytes);
    typename TypeParam::In in(stream);
    EXPECT_FALSE(in.Read(careless));
    EXPECT_NE(stream.peek(), EOF) << "what follows the failure stays unread";
}

TYPED_TEST(TaggedStream, AWriteWithoutMemoryAnswersFalseAndLeavesNothingBehind) {
    constexpr std::streamsize room = 100000;
    cCareless careless;
    careless.unit = Text(std::string(1000, 'u'));
    [[maybe_unused]] const str_cString name = "Child";
    int failures = 0;
    for (bool ok = false; !ok;) {
        cBrittleBuffer device("", room, false);
        std::ostream stream(&device);
        typename TypeParam::Out out(stream);
        {
            const FailingNew limit(failures);
            if constexpr (std::is_same_v<TypeParam, sAscii>)
                ok = out.Write(careless, name);
            else
                ok = out.Write(careless, 1);
        }
        ASSERT_EQ(out.IsGood(), ok);
        ASSERT_EQ(device.Room() == room, !ok);
        failures += ok ? 0 : 1;
    }
    EXPECT_GT(failures, 0);
}

TYPED_TEST(TaggedStream, AReadWithoutMemoryAnswersFalse) {
    cSample sample = MakeSample();
    sample.unit = Text(std::string(10000, 'u'));
    const std::string bytes = Written<TypeParam>(sample);
    int failures = 0;
    for (bool ok = false; !ok;) {
        std::istringstream stream(bytes);
        typename TypeParam::In in(stream);
        cSample back;
        {
            const FailingNew limit(failures);
            ok = in.Read(back);
        }
        ASSERT_EQ(in.IsGood(), ok);
        failures += ok ? 0 : 1;
    }
    EXPECT_GT(failures, 2);
}

TYPED_TEST(TaggedStream, AnObjectThatRefusesOrThrowsAnswersFalse) {
    cFailing<sRefuses> refusing;
    cFailing<sThrows> throwing;
    const std::string bytes = Written<TypeParam>(cSample());
    EXPECT_FALSE(ReadFrom<TypeParam>(bytes, refusing));
    EXPECT_FALSE(ReadFrom<TypeParam>(bytes, throwing));
}

TYPED_TEST(TaggedStream, AnObjectThatFailsToWriteLeavesNothingBehind) {
    for (const bool throws : {false, true}) {
        std::ostringstream bytes;
        typename TypeParam::Out out(bytes);
        EXPECT_TRUE(TypeParam::Write(out, 1, countField));
        const std::string before = bytes.str();
        EXPECT_FALSE(throws ? TypeParam::Write(out, cFailing<sThrows>(), childField)
                            : TypeParam::Write(out, cFailing<sRefuses>(), childField));
        EXPECT_EQ(bytes.str(), before);
        EXPECT_FALSE(out.IsGood());
        EXPECT_FALSE(TypeParam::Write(out, 2, countField)) << "a failure stays";
        EXPECT_EQ(bytes.str(), before);
    }
}

TYPED_TEST(TaggedStream, AnObjectOfAnotherTypeIsRefused) {
    cSample sample;
    EXPECT_FALSE(ReadFrom<TypeParam>(Written<TypeParam>(cPeak()), sample));
    EXPECT_FALSE(ReadFrom<TypeParam>(Written<TypeParam>(1.5), sample));
    EXPECT_FALSE(ReadFrom<TypeParam>(Written<TypeParam>(Text("Sample")), sample));
}

TYPED_TEST(TaggedStream, AValueOfAnotherKindIsRefusedAndLeavesTheArgument) {
    double number = 42;
    int count = 42;
    bool truth = true;
    type_cBoolean boolean = true;
    str_cString text = "kept";
    const std::string doubleField = Written<TypeParam>(1.5);
    const std::string textField = Written<TypeParam>(Text("12"));
    const std::string truthField = Written<TypeParam>(false);
    const std::string objectField = Written<TypeParam>(cSample());
    for (const std::string& bytes : {textField, truthField, objectField})
        EXPECT_FALSE(ReadFrom<TypeParam>(bytes, number));
    for (const std::string& bytes : {doubleField, textField, truthField, objectField})
        EXPECT_FALSE(ReadFrom<TypeParam>(bytes, count));
    for (const std::string& bytes : {doubleField, textField, objectField}) {
        EXPECT_FALSE(ReadFrom<TypeParam>(bytes, truth));
        EXPECT_FALSE(ReadFrom<TypeParam>(bytes, boolean));
    }
    // In binary streams any payload is a text.
    if constexpr (std::is_same_v<TypeParam, sAscii>) {
        for (const std::string& bytes : {doubleField, truthField, objectField})
            EXPECT_FALSE(ReadFrom<TypeParam>(bytes, text));
    }
    EXPECT_EQ(number, 42);
    EXPECT_EQ(count, 42);
    EXPECT_TRUE(truth);
    EXPECT_TRUE(boolean);
    EXPECT_EQ(text, "kept");
}

TYPED_TEST(TaggedStream, AFailureStays) {
    std::istringstream stream(Written<TypeParam>(Text("a text")) + Written<TypeParam>(5));
    typename TypeParam::In in(stream);
    int count = 42;
    EXPECT_FALSE(in.Read(count));
    EXPECT_FALSE(in.Read(count)) << "the next field would do";
    EXPECT_FALSE(in.NextField());
    EXPECT_FALSE(in.SkipObject());
    EXPECT_FALSE(in.IsGood());
    EXPECT_EQ(count, 42);
}

TYPED_TEST(TaggedStream, TheEndOfTheFieldsIsNoFailure) {
    std::istringstream stream(Written<TypeParam>(5));
    typename TypeParam::In in(stream);
    EXPECT_TRUE(in.NextField());
    EXPECT_FALSE(in.NextField());
    EXPECT_FALSE(in.NextField());
    EXPECT_TRUE(in.IsGood());
    int count = 0;
    EXPECT_FALSE(in.Read(count)) << "there is no field to read";
    EXPECT_FALSE(in.IsGood());
}

TYPED_TEST(TaggedStream, ReadingTakesNoByteBeyondTheField) {
    std::istringstream stream(Written<TypeParam>(MakeSample()) + "rest");
    typename TypeParam::In in(stream);
    cSample sample;
    EXPECT_TRUE(in.Read(sample));
    std::string rest;
    EXPECT_TRUE(stream >> rest);
    EXPECT_EQ(rest, "rest");
}

TYPED_TEST(TaggedStream, ObjectsNestToTheLimitAndNoFurther) {
    for (const int depth : {tgio_MaxDepth, tgio_MaxDepth + 1}) {
        cSample nested;
        for (int i = 1; i < depth; ++i) {
            cSample outer;
            outer.children.push_back(nested);
            nested = outer;
        }
        std::ostringstream bytes;
        typename TypeParam::Out out(bytes);
        EXPECT_EQ(TypeParam::Write(out, nested, childField), depth == tgio_MaxDepth);
        if (depth == tgio_MaxDepth) {
            cSample back;
            EXPECT_TRUE(ReadFrom<TypeParam>(bytes.str(), back));
        }
    }
}

TYPED_TEST(TaggedStream, AFailedStreamIsRefused) {
    std::ostringstream bytes;
    bytes.setstate(std::ios::failbit);
    typename TypeParam::Out out(bytes);
    EXPECT_FALSE(TypeParam::Write(out, 1, countField));
    EXPECT_FALSE(out.IsGood());

    std::istringstream stream(Written<TypeParam>(1));
    stream.setstate(std::ios::failbit);
    typename TypeParam::In in(stream);
    EXPECT_FALSE(in.NextField());
    EXPECT_FALSE(in.IsGood()) << "nothing readable is not the end of the fields";

    std::istream bufferless(nullptr);
    typename TypeParam::In nothing(bufferless);
    EXPECT_FALSE(nothing.SkipObject());
}

TYPED_TEST(TaggedStream, AFullDeviceIsRefused) {
    const std::string whole = Written<TypeParam>(MakeSample());
    const auto size = static_cast<std::streamsize>(whole.size());
    for (const std::streamsize room : {std::streamsize{0}, size - 1, size}) {
        cBrittleBuffer buffer("", room, false);
        std::ostream device(&buffer);
        typename TypeParam::Out out(device);
        EXPECT_EQ(TypeParam::Write(out, MakeSample(), childField), room == size) << room;
    }
}

TYPED_TEST(TaggedStream, NothingThrowsWhenTheStreamDoes) {
    const std::string whole = Written<TypeParam>(MakeSample());
    for (const auto mask :
         {std::ios::goodbit, std::ios::badbit | std::ios::failbit | std::ios::eofbit}) {
        cBrittleBuffer source(whole.substr(0, whole.size() / 2), 0, true);
        std::istream broken(&source);
        broken.exceptions(mask);
        typename TypeParam::In in(broken);
        cSample sample;
        EXPECT_FALSE(in.Read(sample));

        std::istringstream truncated(whole.substr(0, whole.size() / 2));
        truncated.exceptions(mask);
        typename TypeParam::In half(truncated);
        EXPECT_FALSE(half.Read(sample));

        cBrittleBuffer sink("", 3, true);
        std::ostream device(&sink);
        device.exceptions(mask);
        typename TypeParam::Out out(device);
        EXPECT_FALSE(TypeParam::Write(out, 1, countField));
        EXPECT_FALSE(TypeParam::Write(out, 1, countField));
    }
}

TYPED_TEST(TaggedStream, LocalesHaveNoInfluence) {
    const std::string plain = Written<TypeParam>(MakeSample()) + Written<TypeParam>(1234567) +
                              Written<TypeParam>(1234567.5);
    const std::locale comma(std::locale::classic(), new cDecimalComma);
    const std::locale before = std::locale::global(comma);
    std::ostringstream bytes;
    bytes.imbue(comma);
    bytes << 1234.5 << '\n'; // the locale is at work
    typename TypeParam::Out out(bytes);
    EXPECT_TRUE(TypeParam::Write(out, MakeSample(), childField));
    EXPECT_TRUE(TypeParam::Write(out, 1234567, childField));
    EXPECT_TRUE(TypeParam::Write(out, 1234567.5, childField));
    EXPECT_EQ(bytes.str(), "1.234,5\n" + plain);

    std::istringstream stream(plain);
    stream.imbue(comma);
    typename TypeParam::In in(stream);
    cSample sample;
    int count = 0;
    double value = 0;
    EXPECT_TRUE(in.Read(sample) && in.Read(count) && in.Read(value));
    EXPECT_EQ(sample.value, 0.1);
    EXPECT_EQ(count, 1234567);
    EXPECT_EQ(value, 1234567.5);
    std::locale::global(before);
}

TYPED_TEST(TaggedStream, ANamedObjectWritesAndReadsItsName) {
    for (const str_cString& name : {str_cString::Null, str_cString("Fe K-alpha"), Text("}\n")}) {
        const cNamed named(name);
        EXPECT_EQ(named.Name(), name);
        cNamed back("other");
        EXPECT_TRUE(ReadFrom<TypeParam>(Written<TypeParam>(named), back));
        EXPECT_EQ(back.Name(), name);
    }
}

TYPED_TEST(TaggedStream, AClassAddsItsFieldsToThoseOfANamedObject) {
    cPeak peak;
    peak.SetName("Fe");
    peak.height = 2.5;
    cPeak back;
    EXPECT_TRUE(ReadFrom<TypeParam>(Written<TypeParam>(peak), back));
    EXPECT_EQ(back.Name(), "Fe");
    EXPECT_EQ(back.height, 2.5);
}

TEST(TaggedASCIIStream, WritesOneFieldPerLineInsideBraces) {
    EXPECT_EQ(Written<sAscii>(MakeSample()), R"(Child Sample {
    Value 0.1
    Count -7
    Valid true
    Unit "keV"
    Child Sample {
        Value -0
        Count 0
        Valid false
        Unit "a \"b\" {\n}\\"
        Child Sample {
            Value 5e-324
            Count 0
            Valid false
            Unit ""
        }
    }
    Child Sample {
        Value 0
        Count 3
        Valid false
        Unit ""
    }
}
)");
}

TEST(TaggedASCIIStream, WritesNumbersInShortestOrHexadecimalForm) {
    struct sCase {
        double value;
        const char* decimal;
        const char* hexadecimal;
    };
    for (const sCase& c : std::vector<sCase>{{0.0, "0", "0x0p+0"},
                                             {-0.0, "-0", "-0x0p+0"},
                                             {12.0, "12", "0x1.8p+3"},
                                             {-0.1, "-0.1", "-0x1.999999999999ap-4"},
                                             {1e300, "1e+300", "0x1.7e43c8800759cp+996"},
                                             {infinity, "inf", "inf"},
                                             {-infinity, "-inf", "-inf"},
                                             {notANumber, "nan", "nan"}}) {
        std::ostringstream bytes;
        tgio_cASCII_ostream out(bytes);
        EXPECT_TRUE(out.Write(c.value, "V"));
        EXPECT_TRUE(out.Write(c.value, "V", false));
        EXPECT_TRUE(out.Write(c.value, "V", true));
        const std::string decimal = std::string("V ") + c.decimal + "\n";
        EXPECT_EQ(bytes.str(), decimal + decimal + "V " + c.hexadecimal + "\n");
    }
}

TEST(TaggedASCIIStream, HexadecimalNumbersRoundTripBitForBit) {
    for (const double value : TryingDoubles()) {
        std::ostringstream bytes;
        tgio_cASCII_ostream out(bytes);
        ASSERT_TRUE(out.Write(value, "V", true));
        double back = 42;
        ASSERT_TRUE(ReadFrom<sAscii>(bytes.str(), back)) << bytes.str();
        ASSERT_EQ(Bits(back), Bits(value)) << bytes.str();
    }
}

TEST(TaggedASCIIStream, EscapesOnlyWhatItMust) {
    EXPECT_EQ(Written<sAscii>(Text("tab\t bell\a unit\x1f del\x7f \xc3\xa9 \"\\\n")),
              "Child \"tab\\x09 bell\\x07 unit\\x1f del\\x7f \xc3\xa9 \\\"\\\\\\n\"\n");
}

TEST(TaggedASCIIStream, NamesOfAnyBytesRoundTrip) {
    for (const std::string& name : {std::string(), std::string("two words"), std::string("}"),
                                    std::string("a\"b"), std::string("-1.5+_x"), AllBytes()}) {
        std::ostringstream bytes;
        tgio_cASCII_ostream out(bytes);
        ASSERT_TRUE(out.Write(1, Text(name)));
        std::istringstream stream(bytes.str());
        tgio_cASCII_istream in(stream);
        ASSERT_TRUE(in.NextField());
        EXPECT_EQ(in.CurrentName(), Text(name));
    }
}

TEST(TaggedASCIIStream, TheDecimalAndTheBoundsOfNumbers) {
    struct sCase {
        const char* text;
        bool ok;
        double value;
    };
    for (const sCase& c : std::vector<sCase>{{"5", true, 5},
                                             {"5.", true, 5},
                                             {".5", true, 0.5},
                                             {"-5e-1", true, -0.5},
                                             {"5E2", true, 500},
                                             {"0x10", true, 16},
                                             {"0x1.8p1", true, 3},
                                             {"infinity", true, infinity},
                                             {"4.9e-324", true, smallest},
                                             {"0.1000000000000000055511151231257827", true, 0.1},
                                             {"1e309", false, 0},
                                             {"-1e309", false, 0},
                                             {"1e-400", false, 0},
                                             {"0x1p1024", false, 0},
                                             {"+5", false, 0},
                                             {"--5", false, 0},
                                             {"5-", false, 0},
                                             {"1.2.3", false, 0},
                                             {"1,5", false, 0},
                                             {"5x", false, 0},
                                             {"0x", false, 0},
                                             {"-0x", false, 0},
                                             {"0x-1", false, 0},
                                             {"0xinf", false, 0},
                                             {"0xnan", false, 0},
                                             {"0x1p", false, 0},
                                             {"e5", false, 0},
                                             {".", false, 0},
                                             {"-", false, 0},
                                             {"", false, 0},
                                             {"\"5\"", false, 0},
                                             {"true", false, 0},
                                             {"5 6", false, 0},
                                             {"5 {", false, 0}}) {
        double value = 42;
        EXPECT_EQ(ReadFrom<sAscii>(std::string("V ") + c.text + "\n", value), c.ok) << c.text;
        EXPECT_EQ(value, c.ok ? c.value : 42) << c.text;
    }
    for (const char* text :
         {"2147483648", "-2147483649", "1.0", "1e3", "0x10", "+1", "", "\"1\""}) {
        int value = 42;
        EXPECT_FALSE(ReadFrom<sAscii>(std::string("V ") + text + "\n", value)) << text;
        EXPECT_EQ(value, 42);
    }
    for (const char* text : {"1", "True", "yes", "\"true\"", ""}) {
        bool value = true;
        EXPECT_FALSE(ReadFrom<sAscii>(std::string("V ") + text + "\n", value)) << text;
    }
}

TEST(TaggedASCIIStream, BlanksAndEmptyLinesMeanNothing) {
    for (const char* record :
         {"S Sample {\nValue 1.5\nCount 7\n}\n",
          "S Sample {\r\n\tValue\t1.5\r\n\r\n\tCount 7 \r\n}\r\n",
          "\n\n  S   Sample{  \n\n  Value 1.5  \n \n   Count   7\n }  \n",
          "S Sample {\nValue 1.5\nCount 7\n}", "S Sample {\nValue 1.5\nCount 7\n} \t\r",
          "\"S\" \"Sample\" {\n\"Value\" 1.5\n\"Cou\\x6et\"7\n}\n"}) {
        cSample sample;
        EXPECT_TRUE(ReadFrom<sAscii>(record, sample)) << record;
        EXPECT_EQ(sample.value, 1.5) << record;
        EXPECT_EQ(sample.count, 7) << record;
    }
}

TEST(TaggedASCIIStream, RefusesWhatTheGrammarDoesNotSay) {
    for (const char* record : {"S Sample {\n} x",
                               "S Sample {\nOther X {\n}",
                               "S Sample {\nOther X {\n}}\n",
                               "S Sample {\n",
                               "S Sample {}\n",
                               "S Sample { Value 1\n}\n",
                               "S Sample {\nValue 1 }\n",
                               "S Sample {\nValue 1 Count 2\n}\n",
                               "S Sample {\nValue\n}\n",
                               "S Sample {\nValue 1\n} }\n",
                               "S Sample {\nUnit \"a\n\"\n}\n",
                               "S Sample {\nUnit \"a\n}\n",
                               "S Sample {\nUnit \"\\q\"\n}\n",
                               "S Sample {\nUnit \"\\x1g\"\n}\n",
                               "S Sample {\nUnit \"\\x1\"\n}\n",
                               "S Sample {\nUnit \"\\x1G\"\n}\n",
                               "S Sample {\nUnit a\n}\n",
                               "S Sample {\nUnit \"a\"b\n}\n",
                               "S Sample {\nOther a b\n}\n",
                               "S Sample {\nOther a\n",
                               "S Sample {\nOther X {\n}\n",
                               "S Sample {\nOther {\n}\n}\n",
                               "S Sample {\n= 1\n}\n",
                               "S Sample\n{\n}\n",
                               "S sample {\n}\n",
                               "S {\n}\n",
                               "{\n}\n",
                               "}\n",
                               "\n",
                               ""}) {
        cSample sample;
        EXPECT_FALSE(ReadFrom<sAscii>(record, sample)) << record;
    }
}

TEST(TaggedASCIIStream, AStrayBraceIsDamageAndNoEnd) {
    std::istringstream stream("A 1\n}\n");
    tgio_cASCII_istream in(stream);
    EXPECT_TRUE(in.NextField());
    EXPECT_FALSE(in.NextField());
    EXPECT_FALSE(in.IsGood());
}

TEST(TaggedASCIIStream, UnknownFieldsAreSkippedAndMissingOnesKeepTheirValues) {
    cSample sample;
    sample.value = 4.5;
    EXPECT_TRUE(ReadFrom<sAscii>("S Sample {\n"
                                 "Before \"} { \\\" \"\n"
                                 "Object Other {\n"
                                 "  Count 1\n"
                                 "  Inner Other {\n"
                                 "  }\n"
                                 "  Last Other {\n"
                                 "  Valid true\n"
                                 "  }\n"
                                 "}\n"
                                 "Count 7\n"
                                 "After 1.5\n"
                                 "Word nothing\n"
                                 "}\n",
                                 sample));
    EXPECT_EQ(sample.count, 7);
    EXPECT_EQ(sample.value, 4.5);
    EXPECT_FALSE(sample.valid);
}

TEST(TaggedASCIIStream, OfARepeatedFieldTheLastOneWins) {
    cSample sample;
    EXPECT_TRUE(ReadFrom<sAscii>("S Sample {\nCount 1\nCount 2\n}\n", sample));
    EXPECT_EQ(sample.count, 2);
}

TEST(TaggedASCIIStream, NestingBeyondTheLimitIsRefusedReadOrSkipped) {
    for (const int depth : {tgio_MaxDepth, tgio_MaxDepth + 1, 1000000}) {
        std::string open;
        std::string close;
        for (int i = 0; i < depth; ++i) {
            open += "Child Sample {\n";
            close += "}\n";
        }
        cSample sample;
        EXPECT_EQ(ReadFrom<sAscii>(open + close, sample), depth == tgio_MaxDepth);
        std::istringstream stream(open + close);
        tgio_cASCII_istream in(stream);
        EXPECT_EQ(in.SkipObject(), depth == tgio_MaxDepth);
    }
}

namespace {

std::string Little(std::uint64_t value, int size) {
    std::string bytes;
    for (int i = 0; i < size; ++i)
        bytes += static_cast<char>(value >> 8 * i);
    return bytes;
}

std::string Field(unsigned tag, const std::string& payload) {
    return Little(tag, 2) + Little(payload.size(), 4) + payload;
}

std::string Object(unsigned tag, unsigned type, const std::string& fields) {
    return Field(tag, Little(type, 2) + fields);
}

} // namespace

TEST(TaggedBinaryStream, WritesTagLengthAndPayload) {
    cSample sample;
    sample.value = 1.5;
    sample.count = -2;
    sample.valid = true;
    sample.unit = "keV";
    sample.children.emplace_back();
    const std::string child = Object(260, 5000,
                                     Field(256, Little(0, 8)) + Field(257, Little(0, 4)) +
                                         Field(258, Little(0, 1)) + Field(259, ""));
    EXPECT_EQ(Written<sBinary>(sample, {"", 0xabcd}),
              Object(0xabcd, 5000,
                     Field(256, Little(0x3ff8000000000000, 8)) + Field(257, Little(0xfffffffe, 4)) +
                         Field(258, Little(1, 1)) + Field(259, "keV") + child));
}

TEST(TaggedBinaryStream, NaNsKeepTheirBits) {
    for (const std::uint64_t bits :
         {0x7ff8000000000000u, 0xfff8000000000000u, 0x7ff8000000abcdefu, 0xffffffffffffffffu}) {
        double back = 0;
        EXPECT_TRUE(ReadFrom<sBinary>(Written<sBinary>(std::bit_cast<double>(bits)), back));
        EXPECT_EQ(Bits(back), bits);
    }
}

TEST(TaggedBinaryStream, UnknownFieldsAreSkippedAndMissingOnesKeepTheirValues) {
    cSample sample;
    sample.value = 4.5;
    EXPECT_TRUE(ReadFrom<sBinary>(Object(1, 5000,
                                         Field(7, "abc") + Object(8, 9, Field(257, Little(1, 4))) +
                                             Field(257, Little(7, 4)) +
                                             Field(65535, std::string(10000, '\xff'))),
                                  sample));
    EXPECT_EQ(sample.count, 7);
    EXPECT_EQ(sample.value, 4.5);
}

TEST(TaggedBinaryStream, OfARepeatedFieldTheLastOneWins) {
    cSample sample;
    EXPECT_TRUE(ReadFrom<sBinary>(
        Object(1, 5000, Field(257, Little(1, 4)) + Field(257, Little(2, 4))), sample));
    EXPECT_EQ(sample.count, 2);
}

TEST(TaggedBinaryStream, LengthsThatDoNotFitTheirKindAreRefused) {
    for (const std::size_t size : {0u, 1u, 2u, 3u, 4u, 5u, 7u, 8u, 9u, 16u}) {
        const std::string bytes = Field(1, std::string(size, '\0')) + std::string(100, '\0');
        double value = 42;
        int count = 42;
        bool truth = true;
        EXPECT_EQ(ReadFrom<sBinary>(bytes, value), size == 8);
        EXPECT_EQ(ReadFrom<sBinary>(bytes, count), size == 4);
        EXPECT_EQ(ReadFrom<sBinary>(bytes, truth), size == 1);
    }
    bool truth = false;
    EXPECT_FALSE(ReadFrom<sBinary>(Field(1, "\2"), truth));
}

TEST(TaggedBinaryStream, LengthsThatDoNotFitTheirObjectAreRefused) {
    const std::string rest(100, '\0');
    const std::string count = Field(257, Little(7, 4));
    struct sCase {
        const char* what;
        std::string bytes;
        bool ok;
    };
    for (const sCase& c : std::vector<sCase>{
             {"whole", Object(1, 5000, count), true},
             {"empty", Object(1, 5000, ""), true},
             {"no type", Field(1, ""), false},
             {"half a type", Field(1, "\x88"), false},
             {"one byte beyond the object", Object(1, 5000, count.substr(0, 9)), false},
             {"half a header", Object(1, 5000, count + count.substr(0, 5)), false},
             {"one byte more", Object(1, 5000, count + "x"), false},
             {"a claim of everything", Object(1, 5000, Little(257, 2) + Little(0xffffffff, 4)),
              false},
             {"an unknown field beyond the object", Object(1, 5000, Little(7, 2) + Little(1, 4)),
              false},
             {"a nested object beyond the object",
              Object(1, 5000, Little(260, 2) + Little(8, 4) + Little(5000, 2)), false}}) {
        std::istringstream stream(c.bytes + rest);
        tgio_cBinary_istream in(stream);
        cSample sample;
        EXPECT_EQ(in.Read(sample), c.ok) << c.what;
        EXPECT_LE(static_cast<std::size_t>(stream.tellg()), c.bytes.size())
            << c.what << " takes no byte beyond";
    }
}

TEST(TaggedBinaryStream, NestingBeyondTheLimitIsRefused) {
    for (const int depth : {tgio_MaxDepth, tgio_MaxDepth + 1, 2000}) {
        std::string bytes = Object(260, 5000, "");
        for (int i = 1; i < depth; ++i)
            bytes = Object(260, 5000, bytes);
        cSample sample;
        EXPECT_EQ(ReadFrom<sBinary>(bytes, sample), depth == tgio_MaxDepth);
        std::istringstream stream(bytes);
        tgio_cBinary_istream in(stream);
        EXPECT_TRUE(in.SkipObject()) << "by its length";
    }
}

TEST(TaggedBinaryStream, ClaimedLengthsTakeNoMemory) {
    const auto peakKiB = [] {
        rusage usage{};
        getrusage(RUSAGE_SELF, &usage);
        return usage.ru_maxrss;
    };
    const long before = peakKiB();
    for (const std::uint64_t claim : {0x10000000u, 0x7fffffffu, 0x80000000u, 0xffffffffu}) {
        const std::string bytes = Little(1, 2) + Little(claim, 4) + std::string(14, 'x');
        str_cString text = "kept";
        EXPECT_FALSE(ReadFrom<sBinary>(bytes, text));
        EXPECT_EQ(text, "kept");
        cSample sample;
        EXPECT_FALSE(ReadFrom<sBinary>(bytes, sample));
        std::istringstream stream(bytes);
        tgio_cBinary_istream in(stream);
        EXPECT_FALSE(in.SkipObject());
    }
    EXPECT_LT(peakKiB() - before, 65536);
}

TEST(TaggedStreamObject, TypesAreEqualByNameAndNumber) {
    const tgio_cObjectType type(obty_CoordTransformString, obty_CoordTransformType);
    EXPECT_EQ(type.Name(), "CoordTransform");
    EXPECT_EQ(type.Number(), 4096);
    EXPECT_EQ(type, tgio_cObjectType("CoordTransform", 4096));
    EXPECT_NE(type, tgio_cObjectType("CoordTransform", 4097));
    EXPECT_NE(type, tgio_cObjectType("Coord", 4096));
}

TEST(TaggedStreamObject, ANamedObjectHasATypeWithoutSayingSo) {
    EXPECT_EQ(cNamed().ObjectType(),
              tgio_cObjectType(obty_NamedObjectString, obty_NamedObjectType));
    EXPECT_EQ(cNamed().Name(), str_cString::Null);
}
