#include <bit>
#include <clocale>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <locale>
#include <random>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#include "dataprocessing/base/expt.h"
#include "dataprocessing/exchange/obty.h"
#include "dataprocessing/geometry/trns.h"
#include "tests/support/constants.h"
#include "tests/support/elements.h"

namespace {

using Transformation = trns_cCoordTransformation;

std::uint64_t bitsOf(double x) { return std::bit_cast<std::uint64_t>(x); }

std::string messageOf(const rnge_c1DRange& base, const rnge_c1DRange& derived) {
    return userRefusalOf([&] { const Transformation made(base, derived); });
}

const std::string invalidBase = "transfrm:40: Invalid base range.";

struct sAscii {
    using In = tgio_cASCII_istream;
    using Out = tgio_cASCII_ostream;
    static bool Write(Out& out, const tgio_cTaggedStreamObject& object) {
        return out.Write(object, "Axis");
    }
};

struct sBinary {
    using In = tgio_cBinary_istream;
    using Out = tgio_cBinary_ostream;
    static bool Write(Out& out, const tgio_cTaggedStreamObject& object) {
        return out.Write(object, 300);
    }
};

template<class Format>
std::string written(const tgio_cTaggedStreamObject& object) {
    std::ostringstream bytes;
    typename Format::Out out(bytes);
    EXPECT_TRUE(Format::Write(out, object));
    return bytes.str();
}

template<class Format>
bool read(const std::string& bytes, tgio_cTaggedStreamObject& object) {
    std::istringstream stream(bytes);
    typename Format::In in(stream);
    return in.Read(object);
}

std::string little(std::uint64_t value, int bytes) {
    std::string text;
    for (int i = 0; i < bytes; ++i)
        text += static_cast<char>(value >> (8 * i) & 255);
    return text;
}

std::string field(int tag, const std::string& payload) {
    return little(static_cast<std::uint64_t>(tag), 2) + little(payload.size(), 4) + payload;
}

std::string field(int tag, double value) { return field(tag, little(bitsOf(value), 8)); }

std::string binaryRecord(const std::string& fields) {
    return field(300, little(obty_CoordTransformType, 2) + fields);
}

std::string asciiRecord(const std::string& fields) {
    return "Axis CoordTransform {\n" + fields + "}\n";
}

// What a transformation is after reading; "refused" where reading answers false.
template<class Format>
std::string outcome(const std::string& record) {
    Transformation t(7, 9);
    if (!read<Format>(record, t))
        return "refused";
    std::ostringstream text;
    text << t.Offset() << ' ' << t.Scale();
    return text.str();
}

/// Written before main, perhaps before the sources of the library are initialised, and read after
/// it, when they may be gone.
struct sGlobal {
    std::string ascii = written<sAscii>(Transformation(100, 0.1));
    std::string binary = written<sBinary>(Transformation(100, 0.1));
    bool isRead = outcome<sAscii>(ascii) == "100 0.1" && outcome<sBinary>(binary) == "100 0.1";

    ~sGlobal() {
        if (outcome<sAscii>(ascii) != "100 0.1" ||
            written<sAscii>(Transformation(100, 0.1)) != ascii)
            std::_Exit(77);
    }
};
const sGlobal global;

class cDecimalComma : public std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

} // namespace

TEST(CoordTransformation, MapsEveryCoordinateToItselfByDefault) {
    const Transformation t;
    EXPECT_EQ(t.Offset(), 0.0);
    EXPECT_EQ(t.Scale(), 1.0);
    for (const double x : {-2.5, 0.0, 1e300, infinity}) {
        EXPECT_EQ(t.TransformFromBase(x), x);
        EXPECT_EQ(t.TransformToBase(x), x);
    }
}

TEST(CoordTransformation, MapsByScaleThenOffset) {
    const Transformation t(5, -2);
    EXPECT_EQ(t.TransformFromBase(3), -1);
    EXPECT_EQ(t.TransformToBase(-1), 3);
}

TEST(CoordTransformation, TakesOneRangeOntoAnother) {
    const Transformation t(rnge_c1DRange(0, 10), rnge_c1DRange(100, 200));
    EXPECT_EQ(t.Scale(), 10);
    EXPECT_EQ(t.Offset(), 100);
    EXPECT_EQ(t.TransformToBase(150), 5);

    const Transformation reversed(rnge_c1DRange(2, 4), rnge_c1DRange(8, 4));
    EXPECT_EQ(reversed.Scale(), -2);
    EXPECT_EQ(reversed.Offset(), 12);
    EXPECT_EQ(reversed.TransformFromBase(2), 8);
    EXPECT_EQ(reversed.TransformFromBase(4), 4);
}

TEST(CoordTransformation, RefusesAScaleByItsMagnitude) {
    const double below = std::nextafter(type_MinValue, 0);
    const auto refusal = [](double scale) {
        return refusalOf([&] { const Transformation t(5, scale); });
    };
    for (const double scale : {0.0, -0.0, -1e-300, 1e-300, below, -below})
        EXPECT_EQ(refusal(scale), "transfrm:29") << scale;
    for (const double scale : {-2.0, type_MinValue, -type_MinValue, infinity, notANumber})
        EXPECT_EQ(refusal(scale), "none") << scale;
}

TEST(CoordTransformation, TheRefusalOfAScaleIsNoUserException) {
    EXPECT_EQ(userRefusalOf([] { const Transformation t(0, 0); }), "other");
}

TEST(CoordTransformation, RefusesABaseRangeThatIsReversedOrEmpty) {
    const rnge_c1DRange derived(0, 1);
    EXPECT_EQ(messageOf(rnge_c1DRange(10, 0), derived), invalidBase);
    EXPECT_EQ(messageOf(rnge_c1DRange(3, 3), derived), invalidBase);
    EXPECT_EQ(messageOf(rnge_c1DRange(0, std::nextafter(type_MinValue, 0)), derived), invalidBase);
    EXPECT_EQ(messageOf(rnge_c1DRange(0, type_MinValue), derived), "none");
    EXPECT_EQ(messageOf(rnge_c1DRange(0, notANumber), derived), "none");
}

TEST(CoordTransformation, AnEmptyDerivedRangeIsNotRefused) {
    const Transformation t(rnge_c1DRange(0, 10), rnge_c1DRange(5, 5));
    EXPECT_EQ(t.Scale(), 0);
    EXPECT_EQ(t.Offset(), 5);
}

TEST(CoordTransformation, SettersDoNotCheck) {
    Transformation t(1, 2);
    t.SetOffset(3);
    EXPECT_EQ(t.Offset(), 3);
    EXPECT_EQ(t.Scale(), 2);
    t.SetScale(0);
    EXPECT_EQ(t.Scale(), 0);
    EXPECT_EQ(t.TransformToBase(4), infinity);
    EXPECT_TRUE(std::isnan(t.TransformToBase(3)));
    EXPECT_EQ(trns_Transform(2, t, Transformation()), -infinity);
}

TEST(CoordTransformation, CopiesAreIndependent) {
    Transformation a(1, 2);
    Transformation b = a;
    b.SetOffset(5);
    EXPECT_EQ(a.Offset(), 1);
    a = b;
    const Transformation& self = a;
    a = self;
    EXPECT_EQ(a.Offset(), 5);
    EXPECT_EQ(a.Scale(), 2);
    static_assert(std::has_virtual_destructor_v<Transformation>);
}

TEST(CoordTransformation, ADoubleAndBracesConvert) {
    EXPECT_EQ(trns_Transform(30, {10, 2}, {100, 3}), 130);
    const Transformation shifted = 4.0;
    EXPECT_EQ(shifted.TransformFromBase(1), 5);
}

// from: base = (x - 10) / 2; to: x = base x 3 + 100. In y: base = y + 1; y = -base x 4 + 7.
TEST(Transform, GoesThroughTheBase) {
    const Transformation fromX(10, 2), toX(100, 3), fromY(-1, 1), toY(7, -4);
    EXPECT_EQ(trns_Transform(30, fromX, toX), 130);
    EXPECT_EQ(trns_Transform(pos_c1DPosition(30), fromX, toX), pos_c1DPosition(130));
    EXPECT_EQ(trns_Transform(pos_c2DPosition(30, 4), fromX, fromY, toX, toY),
              pos_c2DPosition(130, -13));
    EXPECT_EQ(trns_Transform(rnge_c1DRange(30, 40), fromX, toX), rnge_c1DRange(130, 145));
    EXPECT_EQ(trns_Transform(rnge_c2DRange(30, 4, 40, 6), fromX, fromY, toX, toY),
              rnge_c2DRange(130, -13, 145, -21));
}

TEST(Transform, EvaluatesInTheOrderOfTheFormula) {
    std::mt19937 random(1);
    std::uniform_real_distribution<double> value(-10, 10);
    for (int i = 0; i < 1000; ++i) {
        const double x = value(random), o = value(random), s = value(random), p = value(random),
                     r = value(random);
        volatile double y = x - o;
        y = y / s;
        y = y * r;
        y = y + p;
        EXPECT_EQ(bitsOf(trns_Transform(x, {o, s}, {p, r})), bitsOf(y));
    }
}

TEST(Transform, FromTheBase) {
    const Transformation x(10, 2), y(1, -3);
    EXPECT_EQ(trns_TransformFromBase(pos_c1DPosition(4), x), pos_c1DPosition(18));
    EXPECT_EQ(trns_TransformFromBase(pos_c2DPosition(4, 5), x, y), pos_c2DPosition(18, -14));
    EXPECT_EQ(trns_TransformFromBase(rnge_c1DRange(4, 6), x), rnge_c1DRange(18, 22));
    EXPECT_EQ(trns_TransformFromBase(rnge_c2DRange(4, 5, 6, 7), x, y),
              rnge_c2DRange(18, -14, 22, -20));
}

TEST(Transform, ToTheBase) {
    const Transformation x(10, 2), y(1, -3);
    EXPECT_EQ(trns_TransformToBase(pos_c1DPosition(18), x), pos_c1DPosition(4));
    EXPECT_EQ(trns_TransformToBase(pos_c2DPosition(18, -14), x, y), pos_c2DPosition(4, 5));
    EXPECT_EQ(trns_TransformToBase(rnge_c1DRange(18, 22), x), rnge_c1DRange(4, 6));
    EXPECT_EQ(trns_TransformToBase(rnge_c2DRange(18, -14, 22, -20), x, y),
              rnge_c2DRange(4, 5, 6, 7));
}

TEST(Transform, ANegativeScaleDoesNotReorderARange) {
    const rnge_c1DRange mapped = trns_TransformFromBase(rnge_c1DRange(1, 2), Transformation(0, -1));
    EXPECT_EQ(mapped.Start(), -1);
    EXPECT_EQ(mapped.End(), -2);
}

TEST(Transform, ARotatedRangeGivesTheUprightOneOfItsOutermostCoordinates) {
    const rnge_c2DRange diamond(0, 0, std::sqrt(2.0), std::sqrt(2.0), type_Pi / 4);
    const rnge_c2DRange mapped =
        trns_TransformFromBase(diamond, Transformation(10, 2), Transformation(0, 3));
    EXPECT_EQ(mapped.Angle(), 0);
    EXPECT_NEAR(mapped.Left(), 8, 1e-14);
    EXPECT_NEAR(mapped.Right(), 12, 1e-14);
    EXPECT_NEAR(mapped.Bottom(), -3, 1e-14);
    EXPECT_NEAR(mapped.Top(), 3, 1e-14);
}

TEST(CoordTransformationStream, WritesOffsetThenScale) {
    EXPECT_EQ(written<sAscii>(Transformation(100, 0.1)),
              "Axis CoordTransform {\n    Offset 100\n    Scale 0.1\n}\n");
    EXPECT_EQ(written<sBinary>(Transformation(100, 0.1)),
              binaryRecord(field(256, 100.0) + field(258, 0.1)));
}

TEST(CoordTransformationStream, TakesTheFieldsInEitherOrder) {
    EXPECT_EQ(outcome<sAscii>(asciiRecord("Offset 3\nScale 4\n")), "3 4");
    EXPECT_EQ(outcome<sAscii>(asciiRecord("Scale 4\nOffset 3\n")), "3 4");
    EXPECT_EQ(outcome<sBinary>(binaryRecord(field(256, 3.0) + field(258, 4.0))), "3 4");
    EXPECT_EQ(outcome<sBinary>(binaryRecord(field(258, 4.0) + field(256, 3.0))), "3 4");
}

TEST(CoordTransformationStream, MissingFieldsKeepTheirValues) {
    EXPECT_EQ(outcome<sAscii>(asciiRecord("Scale 4\n")), "7 4");
    EXPECT_EQ(outcome<sAscii>(asciiRecord("Offset 3\n")), "3 9");
    EXPECT_EQ(outcome<sAscii>(asciiRecord("")), "7 9");
    EXPECT_EQ(outcome<sBinary>(binaryRecord(field(258, 4.0))), "7 4");
    EXPECT_EQ(outcome<sBinary>(binaryRecord(field(256, 3.0))), "3 9");
    EXPECT_EQ(outcome<sBinary>(binaryRecord("")), "7 9");
}

TEST(CoordTransformationStream, OfARepeatedFieldTheLastOneWins) {
    EXPECT_EQ(outcome<sAscii>(asciiRecord("Scale 4\nOffset 1\nScale 5\nOffset 2\n")), "2 5");
    EXPECT_EQ(outcome<sBinary>(binaryRecord(field(258, 4.0) + field(256, 1.0) + field(258, 5.0) +
                                            field(256, 2.0))),
              "2 5");
}

TEST(CoordTransformationStream, SkipsUnknownFieldsAndNestedObjects) {
    const std::string nested = "Inner Thing {\nOffset 1\nDeeper CoordTransform {\nScale 2\n}\n}\n";
    EXPECT_EQ(outcome<sAscii>(asciiRecord("Unit \"keV\"\nScale 4\n" + nested + "Offset 3\n")),
              "3 4");
    EXPECT_EQ(outcome<sAscii>(asciiRecord("offset 1\nScale 4\nSCALE 2\n")), "7 4");
    const std::string inner = field(256, little(obty_CoordTransformType, 2) + field(258, 2.0));
    EXPECT_EQ(outcome<sBinary>(binaryRecord(field(257, inner) + field(258, 4.0) + field(259, "") +
                                            field(512, 1.0))),
              "7 4");
}

TEST(CoordTransformationStream, RefusesValuesThatAreNoDoubles) {
    EXPECT_EQ(outcome<sAscii>(asciiRecord("Scale \"4\"\n")), "refused");
    EXPECT_EQ(outcome<sAscii>(asciiRecord("Offset true\n")), "refused");
    EXPECT_EQ(outcome<sAscii>(asciiRecord(" Unit \"keV\nScale 4\n")), "refused");
    EXPECT_EQ(outcome<sBinary>(binaryRecord(field(256, little(1, 4)))), "refused");
    EXPECT_EQ(outcome<sBinary>(binaryRecord(field(258, little(1, 4)))), "refused");
}

TEST(CoordTransformationStream, AFieldAfterAFailureIsNotTaken) {
    Transformation t(7, 9);
    EXPECT_FALSE(read<sAscii>(asciiRecord("Offset true\nScale 4\n"), t));
    EXPECT_EQ(t.Scale(), 9);
    EXPECT_FALSE(read<sBinary>(binaryRecord(field(256, little(1, 4)) + field(258, 4.0)), t));
    EXPECT_EQ(t.Scale(), 9);
}

TEST(CoordTransformationStream, RefusesAnObjectOfAnotherType) {
    EXPECT_EQ(outcome<sAscii>("Axis Sample {\nScale 4\n}\n"), "refused");
    EXPECT_EQ(outcome<sBinary>(field(300, little(4097, 2) + field(258, 4.0))), "refused");
}

template<class Format>
class CoordTransformationRoundTrip : public testing::Test {};
using Formats = testing::Types<sAscii, sBinary>;
TYPED_TEST_SUITE(CoordTransformationRoundTrip, Formats);

TYPED_TEST(CoordTransformationRoundTrip, KeepsValuesBitForBit) {
    const double values[] = {0.0,
                             -0.0,
                             1.0 / 3,
                             std::numeric_limits<double>::denorm_min(),
                             -std::numeric_limits<double>::denorm_min(),
                             std::nextafter(std::numeric_limits<double>::min(), 0),
                             std::numeric_limits<double>::max(),
                             infinity,
                             -infinity};
    for (const double offset : values)
        for (const double scale : values) {
            Transformation t;
            t.SetOffset(offset);
            t.SetScale(scale);
            Transformation back(7, 9);
            ASSERT_TRUE(read<TypeParam>(written<TypeParam>(t), back));
            EXPECT_EQ(bitsOf(back.Offset()), bitsOf(offset));
            EXPECT_EQ(bitsOf(back.Scale()), bitsOf(scale));
        }
}

TYPED_TEST(CoordTransformationRoundTrip, KeepsNaN) {
    Transformation back(7, 9);
    ASSERT_TRUE(read<TypeParam>(written<TypeParam>(Transformation(notANumber, notANumber)), back));
    EXPECT_TRUE(std::isnan(back.Offset()));
    EXPECT_TRUE(std::isnan(back.Scale()));
}

TYPED_TEST(CoordTransformationRoundTrip, KeepsRandomBits) {
    std::mt19937_64 random(2);
    for (int i = 0; i < 2000; ++i) {
        Transformation t;
        t.SetOffset(std::bit_cast<double>(random()));
        t.SetScale(std::bit_cast<double>(random()));
        Transformation back(7, 9);
        ASSERT_TRUE(read<TypeParam>(written<TypeParam>(t), back));
        EXPECT_TRUE(std::isnan(t.Offset()) ? std::isnan(back.Offset())
                                           : bitsOf(t.Offset()) == bitsOf(back.Offset()));
        EXPECT_TRUE(std::isnan(t.Scale()) ? std::isnan(back.Scale())
                                          : bitsOf(t.Scale()) == bitsOf(back.Scale()));
    }
}

TYPED_TEST(CoordTransformationRoundTrip, TruncationAtEveryByteIsRefused) {
    std::string record = written<TypeParam>(Transformation(1.0 / 3, -2e-30));
    if (record.ends_with("}\n"))
        record.pop_back(); // the last newline of a text may be missing
    for (std::size_t length = 0; length < record.size(); ++length) {
        Transformation t;
        EXPECT_FALSE(read<TypeParam>(record.substr(0, length), t)) << length;
    }
}

TYPED_TEST(CoordTransformationRoundTrip, RandomBytesAreReadOrRefusedWithoutHarm) {
    std::mt19937 random(3);
    const std::string record = written<TypeParam>(Transformation(1.0 / 3, -2e-30));
    int taken = 0;
    for (int i = 0; i < 5000; ++i) {
        std::string bytes = record;
        for (std::size_t changes = 1 + random() % 3; changes > 0; --changes)
            bytes[random() % bytes.size()] = static_cast<char>(random());
        Transformation t(7, 9);
        if (!read<TypeParam>(bytes, t))
            continue;
        ++taken;
        Transformation back(7, 9);
        ASSERT_TRUE(read<TypeParam>(written<TypeParam>(t), back));
        EXPECT_TRUE(isSameElement(back.Offset(), t.Offset()));
    }
    EXPECT_GT(taken, 0);
    EXPECT_LT(taken, 5000);
    for (int i = 0; i < 5000; ++i) {
        std::string bytes;
        for (std::size_t length = random() % 60; length > 0; --length)
            bytes += static_cast<char>(random());
        Transformation t(7, 9);
        EXPECT_FALSE(read<TypeParam>(bytes, t));
    }
}

TYPED_TEST(CoordTransformationRoundTrip, LocalesHaveNoInfluence) {
    const Transformation t(1234.5, 0.25);
    const std::string plain = written<TypeParam>(t);
    const std::locale before = std::locale::global(std::locale(std::locale(), new cDecimalComma));
    const std::string inLocale = written<TypeParam>(t);
    Transformation back;
    const bool ok = read<TypeParam>(plain, back);
    std::locale::global(before);
    EXPECT_EQ(inLocale, plain);
    EXPECT_TRUE(ok);
    EXPECT_EQ(back.Offset(), 1234.5);
    EXPECT_EQ(back.Scale(), 0.25);
}

TYPED_TEST(CoordTransformationRoundTrip, AFailedStreamIsAnsweredWithFalse) {
    std::ostringstream bytes;
    bytes.setstate(std::ios::badbit);
    typename TypeParam::Out out(bytes);
    EXPECT_FALSE(TypeParam::Write(out, Transformation()));
}

TEST(Transformation, IsWrittenAndReadByGlobalObjects) {
    EXPECT_EQ(global.ascii, asciiRecord("    Offset 100\n    Scale 0.1\n"));
    EXPECT_EQ(global.binary, binaryRecord(field(256, 100.0) + field(258, 0.1)));
    EXPECT_TRUE(global.isRead);
}
