#include <gtest/gtest.h>

#include <new>
#include <string>
#include <thread>

#include "tests/failing_new.h"
#include "tests/faults/operation.h"

namespace {

/// What became of one call of which only some allocations succeeded.
struct Attempt {
    bool isOutOfMemory = false;
    std::string failure;
};

Attempt attempt(const Operation& operation, long allowed) {
    Attempt result;
    Operands operands;
    operation.prepare(operands);
    const std::string before = operands.Bytes();
    try {
        operation.answer(operands, [allowed](const std::function<void()>& call) {
            const FailingNew failing(allowed);
            call();
        });
    } catch (const std::bad_alloc&) {
        result.isOutOfMemory = true;
        if (operands.Bytes() != before)
            result.failure = "an argument has changed";
    } catch (const std::exception& other) {
        result.failure = other.what();
    }
    return result;
}

/// A thread keeps tables and its last large block: in one of its own every call begins without
/// them, and all must be gone with the thread. What the process makes once and keeps, such as the
/// type of an object in streams, is no loss: the same attempt must not lose anything twice.
Attempt attemptInThread(const Operation& operation, long allowed) {
    Attempt result;
    for (int round = 0; round < 2; ++round) {
        const long before = liveAllocations();
        std::thread([&] { result = attempt(operation, allowed); }).join();
        if (!result.failure.empty() || liveAllocations() == before)
            return result;
    }
    result.failure = "memory is lost";
    return result;
}

class OutOfMemory : public testing::TestWithParam<Group> {};

} // namespace

TEST_P(OutOfMemory, ThrowsChangesNothingAndLosesNothing) {
    const Table table = GetParam().operations();
    for (const Operation& operation : table.Operations()) {
        long allowed = 0;
        for (bool isOutOfMemory = true; isOutOfMemory; ++allowed) {
            const Attempt result = attemptInThread(operation, allowed);
            isOutOfMemory = result.isOutOfMemory;
            ASSERT_EQ(result.failure, "") << operation.name << ", allocation " << allowed;
        }
    }
}
INSTANTIATE_TEST_SUITE_P(AllOperations, OutOfMemory, testing::ValuesIn(operationGroups),
                         [](const auto& group) { return std::string(group.param.name); });
