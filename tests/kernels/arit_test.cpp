#include "dataprocessing/kernels/arit.h"

#include <gtest/gtest.h>

using namespace dataprocessing::detail;

TEST(ArithmeticLoops, OfAnUnknownOperationOrTypeAreNone) {
    const int unknown = arit_Power + 1;
    for (const arit_eForm form : {arit_NumberFirst, arit_Arrays, arit_NumberSecond}) {
        EXPECT_NE(arit_PlainLoop(dtyp_Double, arit_Add, form, level_Current()), nullptr);
        EXPECT_EQ(arit_PlainLoop(dtyp_Double, unknown, form, level_Current()), nullptr);
        EXPECT_EQ(arit_PlainLoop(dtyp_Int8, arit_Add, form, level_Current()), nullptr);
        EXPECT_EQ(arit_PlainLoop(dtyp_cDataType(11), arit_Add, form, level_Current()), nullptr);
    }
}

TEST(ArithmeticLoops, WidenTheArrayAndNeverTheNumber) {
    struct Row {
        dtyp_eDataType a;
        dtyp_eDataType b;
        arit_eForm form;
        bool exists;
    };
    for (const Row& row : {Row{dtyp_Int16, dtyp_Int32, arit_NumberSecond, true},
                           Row{dtyp_Int16, dtyp_Int32, arit_NumberFirst, false},
                           Row{dtyp_Int32, dtyp_Int16, arit_NumberFirst, true},
                           Row{dtyp_Int32, dtyp_Int16, arit_NumberSecond, false},
                           Row{dtyp_Int16, dtyp_Int32, arit_Arrays, true},
                           Row{dtyp_Int32, dtyp_Int16, arit_Arrays, true}})
        EXPECT_EQ(arit_WideningLoop(dtyp_Int32, row.a, row.b, arit_Add, row.form,
                                    level_Current()) != nullptr,
                  row.exists)
            << row.a << ' ' << row.b << ' ' << row.form;
}
