// What every consumer builds: it calls compiled functions, inlines headers, and catches an
// exception that the library threw, which fails where types are not shared across the library's
// boundary.

#include <cstdio>
#include <cstring>

#include "dataprocessing/dataprocessing.h"

int main() {
    try {
        throw expt_cUserException("consumer", 7, expt_DomainError);
    } catch (const expt_cProgramException& refusal) {
        if (std::strcmp(refusal.what(), "consumer:7: Domain error.") != 0)
            return 1;
    }
    std::puts("consumer: ok");
    return 0;
}
