#include <iostream>

#include "dataprocessing/dataprocessing.h"

int main() {
    const pnum_cNumber sum = pnum_cNumber(2.5) + pnum_cNumber(1);
    std::cout << sum << '\n';
    return sum.As<double>() == 3.5 ? 0 : 1;
}
