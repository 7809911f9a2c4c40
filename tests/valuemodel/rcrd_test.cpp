#include "dataprocessing/valuemodel/rcrd.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <locale>
#include <numeric>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "dataprocessing/exchange/obty.h"
#include "dataprocessing/valuemodel/rcrd_elements.h"
#include "tests/failing_new.h"
#include "tests/faults/bytes.h"
#include "tests/support/arrays.h"
#include "tests/support/records.h"
#include "tests/support/refusal.h"
#include "tests/valuemodel/rcrd_samples.h"

namespace {

const std::string nothingMore = "rcrd:4: The stream has nothing more to load.";
const std::string noSuchRecord = "rcrd:5: The stream has no record of such a value here.";
const std::string later = "rcrd:6: A later version of the library wrote the record.";

template<class Value>
std::string refusalOfLoading(const std::string& bytes, const Value& target) {
    return refusalOfLoading(bytes, target, [](const Value& value) { return bytesOf(value); });
}

template<class Value>
Value loaded(const std::string& bytes) {
    std::istringstream stream(bytes);
    Value value{};
    rcrd_Load(stream, value);
    EXPECT_EQ(stream.peek(), std::istringstream::traits_type::eof());
    return value;
}

/// A small array as a target that is not to be touched, and as text to be damaged.
const darr_c1DArray small({1, 2, 3}, cal_c1DArrayCal(4, 0.5, 6));
const std::string smallText = "Record Array1D {\n"
                              "    Version 1\n"
                              "    Type \"Int32\"\n"
                              "    Size 3\n"
                              "    Offset 4\n"
                              "    Delta 0.5\n"
                              "    CalIndex 6\n"
                              "    Elements \"1 2 3\"\n"
                              "}\n";

std::string replaced(std::string text, const std::string& what, const std::string& by) {
    const std::size_t place = text.find(what);
    EXPECT_NE(place, text.npos) << what;
    return text.replace(place, what.size(), by);
}

std::filesystem::path recordFile(const std::string& name) {
    return std::filesystem::path(__FILE__).parent_path() / "records" / name;
}

std::string contentOf(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    EXPECT_TRUE(file) << path;
    return {std::istreambuf_iterator<char>(file), {}};
}

} // namespace

TEST(Record, EveryValueComesBackBitForBit) {
    for (const rcrd_eForm form : forms)
        forEachRecordSample([&]<class Value>(const Value& value) {
            EXPECT_EQ(bytesOf(loaded<Value>(saved(value, form))), bytesOf(value))
                << saved(value, rcrd_Text);
        });
}

TEST(Record, TextIsAsTold) {
    EXPECT_EQ(saved(small, rcrd_Text), smallText);
    const std::vector<ComplexFloat> elements = {{1, -0.0F}, {0.1F, 1e-45F}};
    EXPECT_EQ(saved(parr_c2DNumberArray(1, 2, elements), rcrd_Text), "Record NumberArray2D {\n"
                                                                     "    Version 1\n"
                                                                     "    Type \"ComplexFloat\"\n"
                                                                     "    SizeX 1\n"
                                                                     "    SizeY 2\n"
                                                                     "    Elements \"1,-0\"\n"
                                                                     "    Elements \"0.1,1e-45\"\n"
                                                                     "}\n");
    std::vector<int> many(33, 5);
    EXPECT_EQ(saved(parr_c1DNumberArray(many), rcrd_Text),
              "Record NumberArray1D {\n"
              "    Version 1\n"
              "    Type \"Int32\"\n"
              "    Size 33\n"
              "    Elements \"5 5 5 5 5 5 5 5 5 5 5 5 5 5 5 5\"\n"
              "    Elements \"5 5 5 5 5 5 5 5 5 5 5 5 5 5 5 5\"\n"
              "    Elements \"5\"\n"
              "}\n");
}

TEST(Record, BinaryIsAsTold) {
    const std::vector<short> elements = {0x0102, -2};
    const std::string fields = std::string("\x03\x10", 2) + // NumberArray1D
                               std::string("\x00\x01\x04\x00\x00\x00\x01\x00\x00\x00", 10) +
                               std::string("\x01\x01\x04\x00\x00\x00\x05\x00\x00\x00", 10) +
                               std::string("\x02\x01\x04\x00\x00\x00\x02\x00\x00\x00", 10) +
                               std::string("\x0a\x01\x04\x00\x00\x00\x02\x01\xfe\xff", 10);
    EXPECT_EQ(saved(parr_c1DNumberArray(elements), rcrd_Binary),
              std::string("\x89\xd2\x2a\x00\x00\x00", 6) + fields);
}

// The files were written by version 1 and are never written anew.
TEST(Record, FilesOfVersion1AreReadForEver) {
    for (const std::string name : {"version1.rec", "version1.txt"}) {
        std::ifstream file(recordFile(name), std::ios::binary);
        ASSERT_TRUE(file) << recordFile(name);
        forEachRecordSample([&]<class Value>(const Value& value) {
            Value read{};
            ASSERT_NO_THROW(rcrd_Load(file, read)) << name;
            EXPECT_EQ(bytesOf(read), bytesOf(value)) << name << ' ' << saved(value, rcrd_Text);
        });
        EXPECT_EQ(file.peek(), std::ifstream::traits_type::eof());
    }
}

TEST(Record, Version1IsWrittenAsEver) {
    for (const rcrd_eForm form : forms) {
        std::string all;
        forEachRecordSample([&](const auto& value) { all += saved(value, form); });
        EXPECT_TRUE(all ==
                    contentOf(recordFile(form == rcrd_Text ? "version1.txt" : "version1.rec")));
    }
}

TEST(Record, LargeArraysComeBackWhateverTheRoomTheyGrowIn) {
    constexpr int first = 131072; // doubles, before the room grows for the first time
    for (const int count : {first - 1, first, first + 1, 4 * first, 4 * first + 1, 5 * first + 3}) {
        std::vector<double> elements(static_cast<std::size_t>(count));
        std::iota(elements.begin(), elements.end(), 0.5);
        const darr_c1DArray array(elements);
        EXPECT_EQ(elementsOf<double>(loaded<darr_c1DArray>(saved(array, rcrd_Binary))), elements);
        EXPECT_EQ(elementsOf<double>(loaded<darr_c1DArray>(saved(array, rcrd_Text))), elements);
    }
}

TEST(Record, AnArrayIsWrittenWithoutACopy) {
    struct cNowhere : std::streambuf {
        std::streamsize xsputn(const char*, std::streamsize count) override { return count; }
        int_type overflow(int_type c) override { return c; }
    } nowhere;
    std::ostream stream(&nowhere);
    const darr_c1DArray array(1 << 22, dtyp_UInt8, cal_c1DArrayCal());
    const LimitedNew limit(4096);
    EXPECT_NO_THROW(rcrd_Save(stream, array));
}

TEST(Record, RecordsStandOneAfterTheOther) {
    for (const rcrd_eForm form : forms) {
        std::stringstream stream;
        rcrd_Save(stream, pnum_cNumber(7), form);
        rcrd_Save(stream, small, form);
        rcrd_Save(stream, cal_c1DArrayCal(1, 2, 3), form);
        pnum_cNumber number;
        darr_c1DArray array;
        cal_c1DArrayCal cal;
        rcrd_Load(stream, number);
        rcrd_Load(stream, array);
        rcrd_Load(stream, cal);
        EXPECT_EQ(number.As<int>(), 7);
        EXPECT_EQ(bytesOf(array), bytesOf(small));
        EXPECT_EQ(cal, cal_c1DArrayCal(1, 2, 3));
        EXPECT_EQ(userRefusalOf([&] { rcrd_Load(stream, number); }), nothingMore);
        EXPECT_EQ(number.As<int>(), 7);
    }
}

TEST(Record, BlankLinesBetweenAndAfterRecordsDoNotMatter) {
    for (const rcrd_eForm form : forms)
        for (const std::string blank : {"\n", "   ", "\r\n\r\n", "\t\n \n"}) {
            std::istringstream stream(blank + saved(small, form) + blank +
                                      saved(pnum_cNumber(7), form) + blank);
            darr_c1DArray array;
            pnum_cNumber number;
            rcrd_Load(stream, array);
            rcrd_Load(stream, number);
            EXPECT_EQ(bytesOf(array), bytesOf(small));
            EXPECT_EQ(number.As<int>(), 7);
            EXPECT_EQ(userRefusalOf([&] { rcrd_Load(stream, number); }), nothingMore);
        }
}

TEST(Record, OfAnotherValueIsRefused) {
    for (const rcrd_eForm form : forms) {
        EXPECT_EQ(refusalOfLoading(saved(small, form), pnum_cNumber(5)), noSuchRecord);
        EXPECT_EQ(refusalOfLoading(saved(pnum_cNumber(5), form), small), noSuchRecord);
        EXPECT_EQ(refusalOfLoading(saved(cal_c1DArrayCal(), form), cal_c2DArrayCal()),
                  noSuchRecord);
    }
    EXPECT_EQ(refusalOfLoading("", small), nothingMore);
    EXPECT_EQ(refusalOfLoading("no record at all", small), noSuchRecord);
    EXPECT_EQ(refusalOfLoading("\x89PNG", small), noSuchRecord);
    EXPECT_EQ(refusalOfLoading(std::string(1, '\0'), small), noSuchRecord);
}

TEST(Record, CutOffAnywhereIsRefused) {
    forEachRecordSample([&]<class Value>(const Value& value) {
        for (const rcrd_eForm form : forms) {
            std::string whole = saved(value, form);
            if (form == rcrd_Text)
                whole.pop_back(); // the last newline may be missing
            // Binary elements are taken in one piece: a few cuts within tell as much as all.
            for (std::size_t size = 0; size < whole.size(); size += size < 90 ? 1 : 37) {
                const std::string refusal = refusalOfLoading(whole.substr(0, size), Value{});
                EXPECT_TRUE(refusal == damaged || refusal == noSuchRecord ||
                            (refusal == nothingMore && size == 0))
                    << refusal << ' ' << size;
            }
        }
    });
}

TEST(Record, DamagedBytesAreReadOrRefusedAndNothingElse) {
    std::mt19937 random(7);
    const auto below = [&](std::size_t end) { return random() % end; };
    forEachRecordSample([&]<class Value>(const Value& value) {
        for (const rcrd_eForm form : forms) {
            const std::string whole = saved(value, form);
            for (int i = 0; i < 60; ++i) {
                std::string bytes = whole;
                for (std::size_t k = 0; k <= below(3); ++k)
                    bytes[below(bytes.size())] = static_cast<char>(random());
                // What a stream claims is not allocated: it has a few hundred bytes.
                const LimitedNew limit(std::size_t{1} << 21);
                const std::string refusal = refusalOfLoading(bytes, Value{});
                EXPECT_TRUE(refusal == "none" || refusal.starts_with("rcrd:")) << refusal;
            }
        }
    });
}

TEST(Record, FieldsMayComeInAnyOrderAndOthersBetween) {
    const std::string text = "Record Array1D {\n"
                             "CalIndex 6\n"
                             "Later Thing {\n Elements \"7\"\n }\n"
                             "Size 3\n"
                             "Delta 0.5\n"
                             "Type \"Int32\"\n"
                             "Elements \"1 2\"\n"
                             "Offset 4\n"
                             "Version 1\n"
                             "Elements \"3\"\n"
                             "New 0.5\n"
                             "}\n";
    EXPECT_EQ(bytesOf(loaded<darr_c1DArray>(text)), bytesOf(small));
}

TEST(Record, WrittenByHandMayHaveMoreBlanksAndNoLastNewline) {
    const darr_c1DArray gone({9});
    for (const std::string& text :
         {replaced(smallText, "1 2 3", "1   2  3"), replaced(smallText, "1 2 3", " 1 2 3  "),
          replaced(smallText, "\"1 2 3\"", "\"\"\nElements \"  \"\nElements \"1 2 3\""),
          replaced(smallText, "}\n", "}"), replaced(smallText, "}\n", "} \t\r")}) {
        std::istringstream stream(text);
        darr_c1DArray array = gone;
        rcrd_Load(stream, array);
        EXPECT_EQ(bytesOf(array), bytesOf(small)) << text;
        EXPECT_EQ(userRefusalOf([&] { rcrd_Load(stream, array); }), nothingMore);
    }
    const std::string complexText = saved(pnum_cNumber(ComplexDouble(1, 2)), rcrd_Text);
    EXPECT_EQ(loaded<pnum_cNumber>(replaced(complexText, "1,2", " 1,2 ")), ComplexDouble(1, 2));
    EXPECT_EQ(refusalOfLoading(replaced(complexText, "1,2", "1, 2"), pnum_cNumber(3)), damaged);
}

TEST(Record, OfAHostileTextIsRefused) {
    const std::string hostile[] = {
        replaced(smallText, "    Version 1\n", ""),
        replaced(smallText, "Version 1", "Version 0"),
        replaced(smallText, "Version 1", "Version \"1\""),
        replaced(smallText, "    Type \"Int32\"\n", ""),
        replaced(smallText, "Int32", "Int33"),
        replaced(smallText, "Int32", ""),
        replaced(smallText, "    Size 3\n", ""),
        replaced(smallText, "Size 3", "Size 2"),
        replaced(smallText, "Size 3", "Size 4"),
        replaced(smallText, "Size 3", "Size -1"),
        replaced(smallText, "Size 3", "Size 2147483647"),
        replaced(smallText, "Size 3", "Size 2147483648"),
        replaced(smallText, "    Delta 0.5\n", ""),
        replaced(smallText, "    Elements \"1 2 3\"\n", ""),
        replaced(smallText, "1 2 3", "1\\x092 3"),
        replaced(smallText, "1 2 3", "1 2 3 ."),
        replaced(smallText, "1 2 3", "1 2-3"),
        replaced(smallText, "1 2 3", "1 2 x"),
        replaced(smallText, "1 2 3", "1 2 3.5"),
        replaced(smallText, "1 2 3", "1 2 2147483648"),
        replaced(smallText, "1 2 3", "1 2"),
        replaced(smallText, "1 2 3", "1 2 3 4"),
        replaced(smallText, "\"1 2 3\"", "1"),
        replaced(smallText, "Int32\"\n", "Int32\"\n Elements \"1\"\n"),
        replaced(smallText, "}\n", "} ."),
    };
    for (const std::string& text : hostile)
        EXPECT_EQ(refusalOfLoading(text, small), damaged) << text;
    EXPECT_EQ(refusalOfLoading(replaced(smallText, "Version 1", "Version 2"), small), later);
    const std::string complexText = saved(pnum_cNumber(ComplexDouble(1, 2)), rcrd_Text);
    for (const char* const element : {"1", "1,", "1;2", "1,2,3", ",2"})
        EXPECT_EQ(refusalOfLoading(replaced(complexText, "1,2", element), pnum_cNumber(3)), damaged)
            << element;
    const std::string imageText = saved(parr_c2DNumberArray(0, 0, dtyp_Int8), rcrd_Text);
    EXPECT_EQ(refusalOfLoading(
                  replaced(replaced(imageText, "SizeX 0", "SizeX 65536"), "SizeY 0", "SizeY 65536"),
                  parr_c2DNumberArray()),
              damaged);
}

TEST(Record, OfAHostileBinaryIsRefused) {
    const std::string whole = saved(small, rcrd_Binary);
    const auto with = [&](std::size_t place, std::initializer_list<int> bytes) {
        std::string changed = whole;
        for (const int byte : bytes)
            changed[place++] = static_cast<char>(byte);
        return changed;
    };
    // Outermost tag and length: 6, kind: 2; Version at 8, Type at 18, SizeX at 28: 10 each.
    EXPECT_EQ(refusalOfLoading(with(14, {2}), small), later);
    EXPECT_EQ(refusalOfLoading(with(14, {0}), small), damaged);
    EXPECT_EQ(refusalOfLoading(with(14, {255, 255, 255, 255}), small), damaged);
    EXPECT_EQ(refusalOfLoading(with(24, {0}), small), damaged);
    EXPECT_EQ(refusalOfLoading(with(24, {11}), small), damaged);
    EXPECT_EQ(refusalOfLoading(with(24, {5}), small), damaged); // the length is another
    EXPECT_EQ(refusalOfLoading(with(24, {7}), small), "none");  // a float of the same size
    EXPECT_EQ(refusalOfLoading(with(34, {2}), small), damaged);
    EXPECT_EQ(refusalOfLoading(with(34, {255, 255, 255, 127}), small), damaged);
    EXPECT_EQ(refusalOfLoading(with(34, {255, 255, 255, 255}), small), damaged);
    EXPECT_EQ(refusalOfLoading(with(6, {2}), small), noSuchRecord);
    // The elements twice; and no elements where some are needed.
    const std::size_t elements = whole.size() - 18;
    std::string twice = whole + whole.substr(elements);
    twice[2] = static_cast<char>(twice.size() - 6);
    EXPECT_EQ(refusalOfLoading(twice, small), damaged);
    // Twice, of elements that look like a field that nobody knows.
    const std::vector<unsigned char> field = {0xe7, 3, 2, 0, 0, 0, 7, 7};
    std::string hidden = saved(parr_c1DNumberArray(field), rcrd_Binary);
    hidden += hidden.substr(hidden.size() - 14);
    hidden[2] = static_cast<char>(hidden.size() - 6);
    EXPECT_EQ(refusalOfLoading(hidden, parr_c1DNumberArray()), damaged);
    std::string none = whole.substr(0, elements);
    none[2] = static_cast<char>(none.size() - 6);
    EXPECT_EQ(refusalOfLoading(none, small), damaged);
}

TEST(Record, WhatAStreamClaimsIsNotAllocated) {
    // Two gigabytes, of which a megabyte and a bit arrive.
    std::string bytes = saved(parr_c1DNumberArray(1 << 20, dtyp_UInt8), rcrd_Binary);
    const auto put = [&](std::size_t place, std::uint32_t word) {
        for (int i = 0; i < 4; ++i)
            bytes[place++] = static_cast<char>(word >> 8 * i);
    };
    put(2, 0x7fffffff + 38U);
    put(34, 0x7fffffff);
    put(40, 0x7fffffff);
    std::istringstream stream(bytes);
    parr_c1DNumberArray target;
    const LimitedNew limit(std::size_t{9} << 20);
    EXPECT_EQ(userRefusalOf([&] { rcrd_Load(stream, target); }), damaged);
}

TEST(Record, UnknownElementsCannotBeSaved) {
    std::ostringstream stream;
    const darr_c1DArray unknown(3, dtyp_cDataType(11), cal_c1DArrayCal());
    for (const rcrd_eForm form : forms) {
        EXPECT_EQ(refusalOf([&] { rcrd_Save(stream, unknown, form); }), "rcrd:1");
        EXPECT_EQ(refusalOf([&] { rcrd_Save(stream, pnum_cNumber(dtyp_cDataType(0)), form); }),
                  "rcrd:1");
    }
    EXPECT_EQ(stream.str(), "");
    tgio_cASCII_ostream text(stream);
    EXPECT_FALSE(rcrd_Write(text, unknown, "Unknown"));
    tgio_cBinary_ostream binary(stream);
    EXPECT_FALSE(rcrd_Write(binary, unknown, 300));
    EXPECT_EQ(stream.str(), "");
}

TEST(Record, OfFourGigabytesAndMoreIsRefusedInBinaryForm) {
    darr_c1DArray large;
    try {
        large = darr_c1DArray(1 << 28, dtyp_ComplexDouble, cal_c1DArrayCal());
    } catch (const std::bad_alloc&) {
        GTEST_SKIP() << "no room for 4 GiB";
    }
    std::ostringstream stream;
    EXPECT_EQ(refusalOf([&] { rcrd_Save(stream, large); }), "rcrd:2");
}

TEST(Record, StreamsThatRefuseAreTold) {
    struct cFull : std::streambuf {
    } full;
    for (const rcrd_eForm form : forms) {
        std::ostream stream(&full);
        EXPECT_EQ(userRefusalOf([&] { rcrd_Save(stream, small, form); }),
                  "rcrd:3: The stream does not take the record.");
        std::ostream throwing(&full);
        throwing.exceptions(std::ios::badbit | std::ios::failbit);
        EXPECT_EQ(userRefusalOf([&] { rcrd_Save(throwing, small, form); }),
                  "rcrd:3: The stream does not take the record.");
    }
    std::istringstream failed(saved(small, rcrd_Binary));
    failed.setstate(std::ios::failbit);
    darr_c1DArray target;
    EXPECT_EQ(userRefusalOf([&] { rcrd_Load(failed, target); }), nothingMore);
}

TEST(Record, ARangeThatIsLoadedTellsItsReceivers) {
    struct cHeard : mesg_cReceiver {
        int count = 0;
        void ReceiveMessage(unsigned long, mesg_cSender&, mesg_sMessageData*) override { ++count; }
    } heard;
    rnge_c1DRange range(1, 2);
    range.AddReceiver(heard, mesg_AllClasses);
    std::istringstream stream(saved(rnge_c1DRange(3, 4), rcrd_Binary));
    rcrd_Load(stream, range);
    EXPECT_EQ(range, rnge_c1DRange(3, 4));
    EXPECT_EQ(heard.count, 1);
}

namespace {

/// An object with values among its fields.
class cMeasurement : public tgio_cTaggedStreamObject {
public:
    darr_c1DArray spectrum;
    pnum_cNumber dose;

    const tgio_cObjectType& ObjectType() const override {
        static const tgio_cObjectType type("Measurement", 5001);
        return type;
    }

private:
    type_cBoolean Read(tgio_cASCII_istream& stream) override {
        bool ok = true;
        while (ok && stream.NextField())
            ok = stream.CurrentName() == "Spectrum" ? rcrd_Read(stream, spectrum)
                 : stream.CurrentName() == "Dose"   ? rcrd_Read(stream, dose)
                                                    : stream.SkipObject();
        return ok;
    }
    type_cBoolean Read(tgio_cBinary_istream& stream) override {
        bool ok = true;
        while (ok && stream.NextField())
            ok = stream.CurrentTag() == 256   ? rcrd_Read(stream, spectrum)
                 : stream.CurrentTag() == 257 ? rcrd_Read(stream, dose)
                                              : stream.SkipObject();
        return ok;
    }
    type_cBoolean Write(tgio_cASCII_ostream& stream) const override {
        return rcrd_Write(stream, conv_Convert(spectrum, dtyp_Double), "Spectrum") &&
               rcrd_Write(stream, dose, "Dose");
    }
    // The converted array is gone when the object is complete.
    type_cBoolean Write(tgio_cBinary_ostream& stream) const override {
        return rcrd_Write(stream, conv_Convert(spectrum, dtyp_Double), 256) &&
               rcrd_Write(stream, dose, 257);
    }
};

} // namespace

TEST(Record, ValuesAreFieldsOfObjects) {
    cMeasurement measurement, binary, text;
    std::vector<float> elements(50000);
    std::iota(elements.begin(), elements.end(), 0.25F);
    measurement.spectrum = darr_c1DArray(elements, small.Cal());
    measurement.dose = 0.5F;
    std::stringstream bytes;
    tgio_cBinary_ostream out(bytes);
    ASSERT_TRUE(out.Write(measurement, 300));
    ASSERT_TRUE(out.Write(0.5, 301));
    tgio_cBinary_istream in(bytes);
    ASSERT_TRUE(in.Read(binary));
    double next = 0;
    EXPECT_TRUE(in.Read(next));
    EXPECT_EQ(next, 0.5);
    std::stringstream lines;
    tgio_cASCII_ostream print(lines);
    ASSERT_TRUE(print.Write(measurement, "Run"));
    tgio_cASCII_istream parse(lines);
    ASSERT_TRUE(parse.Read(text));
    for (const cMeasurement* each : {&binary, &text}) {
        EXPECT_EQ(bytesOf(each->spectrum),
                  bytesOf(conv_Convert(measurement.spectrum, dtyp_Double)));
        EXPECT_EQ(bytesOf(each->dose), bytesOf(measurement.dose));
    }
}

TEST(Record, AFieldOfAnotherKindLeavesTheTarget) {
    std::stringstream bytes;
    tgio_cBinary_ostream out(bytes);
    ASSERT_TRUE(rcrd_Write(out, pnum_cNumber(5), 300));
    tgio_cBinary_istream in(bytes);
    darr_c1DArray target(small);
    EXPECT_FALSE(rcrd_Read(in, target));
    EXPECT_FALSE(in.IsGood());
    EXPECT_EQ(bytesOf(target), bytesOf(small));
}

TEST(Record, AnyTruthOfAMaskComesBack) {
    barr_c1DBoolArray mask(3);
    mask.Element(1) = 200;
    for (const rcrd_eForm form : forms)
        EXPECT_EQ(loaded<barr_c1DBoolArray>(saved(mask, form)).Element(1), 200);
}

TEST(Record, LocalesHaveNoInfluence) {
    struct cComma : std::numpunct<char> {
        char do_decimal_point() const override { return ','; }
        char do_thousands_sep() const override { return '.'; }
        std::string do_grouping() const override { return "\3"; }
    };
    const darr_c1DArray array({1234567.5, 0.1});
    std::stringstream stream;
    stream.imbue(std::locale(std::locale(), new cComma));
    rcrd_Save(stream, array, rcrd_Text);
    darr_c1DArray read;
    rcrd_Load(stream, read);
    EXPECT_EQ(bytesOf(read), bytesOf(array));
}

TEST(RecordElements, WordsAreTurnedRound) {
    using namespace dataprocessing::detail;
    std::array<unsigned char, 8> bytes = {1, 2, 3, 4, 5, 6, 7, 8};
    rcrd_TurnBytes(std::as_writable_bytes(std::span(bytes)), 4);
    EXPECT_EQ(bytes, (std::array<unsigned char, 8>{4, 3, 2, 1, 8, 7, 6, 5}));
    rcrd_TurnBytes(std::as_writable_bytes(std::span(bytes)), 1);
    EXPECT_EQ(bytes[0], 4);
    EXPECT_EQ(rcrd_WordSize(dtyp_ComplexFloat), 4u);
    EXPECT_EQ(rcrd_WordSize(dtyp_Double), 8u);
}
