#include "tests/faults/operation.h"

#include <stdexcept>

void Table::AddRefused(std::string name, Prepare prepare, std::function<void(Operands&)> call) {
    Add(std::move(name), std::move(prepare),
        [call = std::move(call)](Operands& operands) -> expt_cProgramException {
            try {
                call(operands);
            } catch (const expt_cProgramException& refusal) {
                return refusal;
            }
            throw std::logic_error("not refused");
        });
}
