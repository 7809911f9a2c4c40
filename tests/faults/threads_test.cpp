#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <iterator>
#include <latch>
#include <span>
#include <string>
#include <thread>
#include <vector>

#include "tests/faults/operation.h"

namespace {

constexpr std::size_t threadCount = 8;

std::vector<Operation> operationsOf(std::span<const Group> groups) {
    std::vector<Operation> operations;
    for (const Group& group : groups) {
        const Table table = group.operations();
        operations.insert(operations.end(), table.Operations().begin(), table.Operations().end());
    }
    return operations;
}

/// What the operation gives and leaves, as a hash: answers of all threads are a gigabyte.
std::size_t answer(const Operation& operation) {
    const std::hash<std::string> hash;
    Operands operands;
    operation.prepare(operands);
    try {
        const std::string bytes =
            operation.answer(operands, [](const std::function<void()>& call) { call(); });
        return hash(bytes + operands.Bytes());
    } catch (const std::exception& failure) {
        return hash(failure.what());
    }
}

/// What every operation gives in every thread, each of which begins `apart` operations after the
/// one before.
std::vector<std::vector<std::size_t>> answersOfThreads(const std::vector<Operation>& operations,
                                                       std::size_t apart) {
    std::vector<std::vector<std::size_t>> answers(threadCount,
                                                  std::vector<std::size_t>(operations.size()));
    std::latch start(threadCount);
    std::vector<std::thread> threads;
    for (std::size_t t = 0; t < threadCount; ++t)
        threads.emplace_back([&, t] {
            start.arrive_and_wait();
            for (std::size_t i = 0; i < operations.size(); ++i) {
                const std::size_t at = (i + t * apart) % operations.size();
                answers[t][at] = answer(operations[at]);
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    return answers;
}

void expectSameAnswers(std::size_t apart, const std::vector<Operation>& operations) {
    // The threads come first: what is made at the first use is then made by all at once.
    const std::vector<std::vector<std::size_t>> answers = answersOfThreads(operations, apart);
    for (std::size_t at = 0; at < operations.size(); ++at) {
        const std::size_t alone = answer(operations[at]);
        for (const std::vector<std::size_t>& ofThread : answers)
            EXPECT_EQ(ofThread[at], alone) << operations[at].name;
    }
}

} // namespace

TEST(Threads, TheSameOperationAtOnceGivesTheBitsOfOneAlone) {
    expectSameAnswers(0, operationsOf(operationGroups));
}

TEST(Threads, DifferentOperationsAtOnceGiveTheBitsOfOneAlone) {
    // Without the last group, the large ones: they take most of the time, and once is enough.
    const std::vector<Operation> operations =
        operationsOf(std::span(operationGroups).first(std::size(operationGroups) - 1));
    expectSameAnswers(operations.size() / threadCount, operations);
}
