#include "dataprocessing/operand/blocks.h"

#include <cstddef>
#include <numeric>
#include <vector>

#include <gtest/gtest.h>

using namespace dataprocessing::detail;

namespace {

template<class T>
std::vector<T> counted(std::size_t count) {
    std::vector<T> elements(count);
    std::iota(elements.begin(), elements.end(), T(1));
    return elements;
}

/// A step that copies elements of T, and what it was called with.
template<class T>
struct CopyingStep {
    std::vector<std::size_t>& counts;

    bool operator()(void* target, std::size_t count, const void* elements) const {
        counts.push_back(count);
        for (std::size_t i = 0; i < count; ++i)
            static_cast<T*>(target)[i] = static_cast<const T*>(elements)[i];
        return true;
    }
};

} // namespace

TEST(Blocks, AreOneWhereTheElementsAreInPlace) {
    const auto elements = counted<int>(100000);
    std::vector<int> result(elements.size());
    std::vector<std::size_t> counts;
    EXPECT_TRUE(blocks_Run({result.data(), sizeof(int), 0, elements.size()},
                           CopyingStep<int>{counts}, blocks_cSource(elements.data(), dtyp_Int32)));
    EXPECT_EQ(counts, std::vector<std::size_t>{elements.size()});
    EXPECT_EQ(result, elements);
}

TEST(Blocks, HaveNoMoreElementsThanAskedFor) {
    const auto elements = counted<int>(1000);
    std::vector<int> result(elements.size());
    std::vector<std::size_t> counts;
    blocks_Run({result.data(), sizeof(int), 0, elements.size(), 300}, CopyingStep<int>{counts},
               blocks_cSource(elements.data(), dtyp_Int32));
    EXPECT_EQ(counts, (std::vector<std::size_t>{300, 300, 300, 100}));
    EXPECT_EQ(result, elements);
}

TEST(Blocks, ConvertWhatIsStoredInAnotherType) {
    const auto elements = counted<unsigned short>(3000);
    const auto wanted = counted<double>(3000);
    std::vector<double> result(elements.size());
    std::vector<std::size_t> counts;
    const blocks_cSource source(elements.data(), dtyp_UInt16, dtyp_Double);
    EXPECT_EQ(source.StoredType(), dtyp_UInt16);
    EXPECT_EQ(source.FetchedSize(), sizeof(double));
    EXPECT_EQ(source.Stored().FetchedSize(), 0u);
    EXPECT_EQ(source.Stored().Read(7, 1, nullptr), elements.data() + 7);
    blocks_Run({result.data(), sizeof(double), 0, elements.size()}, CopyingStep<double>{counts},
               source);
    EXPECT_EQ(counts, (std::vector<std::size_t>{512, 512, 512, 512, 512, 440}));
    EXPECT_EQ(result, wanted);
}

TEST(Blocks, ConvertComplexElementsAsTheyAreToldTo) {
    const std::vector<comp_cComplex<float>> elements{{3, 4}, {0, -2}};
    const blocks_cSource source(elements.data(), dtyp_ComplexFloat, dtyp_Double, conv_Modulus);
    double moduli[2];
    EXPECT_EQ(source.Read(0, 2, moduli), moduli);
    EXPECT_EQ(moduli[0], 5);
    EXPECT_EQ(moduli[1], 2);
}

TEST(Blocks, BeginAndEndWithinWhatThereIs) {
    const auto elements = counted<unsigned short>(20);
    for (const dtyp_eDataType stored : {dtyp_UInt16, dtyp_Int16}) { // in place, and converted
        std::vector<short> result(elements.size());
        std::vector<std::size_t> counts;
        blocks_Run({result.data(), sizeof(short), 5, 9}, CopyingStep<short>{counts},
                   blocks_cSource(elements.data(), stored, dtyp_Int16));
        EXPECT_EQ(counts, std::vector<std::size_t>{4});
        for (std::size_t i = 0; i < result.size(); ++i)
            EXPECT_EQ(result[i], i >= 5 && i < 9 ? elements[i] : 0) << i;
    }
}

TEST(Blocks, AreNoneWithoutElements) {
    const pnum_cNumber number(1);
    for (const dtyp_eDataType wanted : {dtyp_Int32, dtyp_Double})
        EXPECT_TRUE(blocks_Run(
            {nullptr, 0, 3, 3}, [](void*, std::size_t, const void*) { return false; },
            blocks_cSource(number.Data(), dtyp_Int32, wanted)));
}

TEST(Blocks, GoOnAsLongAsTheStepWants) {
    const auto elements = counted<int>(5000);
    for (const dtyp_eDataType wanted : {dtyp_Int32, dtyp_Double}) {
        int calls = 0;
        const auto step = [&](void*, std::size_t, const void*) { return ++calls < 2; };
        EXPECT_EQ(blocks_Run({nullptr, 0, 0, elements.size()}, step,
                             blocks_cSource(elements.data(), dtyp_Int32, wanted)),
                  wanted == dtyp_Int32);
        EXPECT_EQ(calls, wanted == dtyp_Int32 ? 1 : 2);
    }
}
