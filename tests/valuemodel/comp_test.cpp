#include "dataprocessing/valuemodel/comp.h"

#include <gtest/gtest.h>

TEST(Complex, ProductIsThePlainFormula) {
    const comp_cComplex<double> z = comp_cComplex<double>(1, 2) * comp_cComplex<double>(3, 4);
    EXPECT_EQ(z, comp_cComplex<double>(-5, 10));
}
