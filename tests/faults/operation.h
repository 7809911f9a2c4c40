#pragma once

// Every public operation, ready to be called.

#include <functional>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "tests/faults/bytes.h"
#include "tests/faults/operands.h"

/// Runs a call: at once, out of memory, many at a time.
using Guard = std::function<void(const std::function<void()>& call)>;

using Prepare = std::function<void(Operands& operands)>;
inline void nothing(Operands&) {}

/// One call of one public operation. Where running out of memory is answered otherwise than by
/// std::bad_alloc, the call throws it in place of that answer.
struct Operation {
    std::string name;
    /// Makes the operands ready.
    Prepare prepare;
    /// Calls the operation within `guard`; answers every bit of what it gave.
    std::function<std::string(Operands& operands, const Guard& guard)> answer;
};

class Table {
public:
    template<class Call>
    void Add(std::string name, Prepare prepare, Call call) {
        using Result = std::remove_cvref_t<std::invoke_result_t<Call, Operands&>>;
        operations_.push_back({std::move(name), std::move(prepare),
                               AnswerOf<Result>(std::function<Result(Operands&)>(call))});
    }
    template<class Call>
    void Add(std::string name, Call call) {
        Add(std::move(name), Prepare(nothing), call);
    }
    /// A call that refuses its operands: the answer is the refusal.
    void AddRefused(std::string name, Prepare prepare, std::function<void(Operands&)> call);
    void AddRefused(std::string name, std::function<void(Operands&)> call) {
        AddRefused(std::move(name), Prepare(nothing), std::move(call));
    }
    /// A function of one number, 1D or 2D array.
    template<class Call>
    void AddKinds(const std::string& name, Call call) {
        Add(name + " number", [call](Operands& of) { return call(of.number); });
        Add(name + " line", [call](Operands& of) { return call(of.line); });
        Add(name + " image", [call](Operands& of) { return call(of.image); });
    }
    /// An operation on two, in the seven pairings that there are.
    template<class Call>
    void AddPairings(const std::string& name, Call call) {
        Add(name + " number number", [call](Operands& of) { return call(of.number, of.count); });
        Add(name + " number line", [call](Operands& of) { return call(of.number, of.coarseLine); });
        Add(name + " number image",
            [call](Operands& of) { return call(of.number, of.coarseImage); });
        Add(name + " line number", [call](Operands& of) { return call(of.line, of.count); });
        Add(name + " line line", [call](Operands& of) { return call(of.line, of.coarseLine); });
        Add(name + " image number", [call](Operands& of) { return call(of.image, of.count); });
        Add(name + " image image", [call](Operands& of) { return call(of.image, of.coarseImage); });
    }

    const std::vector<Operation>& Operations() const noexcept { return operations_; }

private:
    // By the type of the result and not of the call, so that it is compiled a few times, not
    // hundreds.
    template<class Result>
    static auto AnswerOf(std::function<Result(Operands&)> call) {
        return [call = std::move(call)](Operands& operands, const Guard& guard) -> std::string {
            if constexpr (std::is_void_v<Result>) {
                guard([&] { call(operands); });
                return {};
            } else {
                std::optional<Result> result;
                guard([&] { result.emplace(call(operands)); });
                return bytesOf(*result);
            }
        };
    }

    std::vector<Operation> operations_;
};

Table binaryOperations();
Table unaryOperations();
Table reduceOperations();
Table filterOperations();
Table fourierOperations();
Table geometryOperations();
Table fittingOperations();
Table mapsOperations();
Table valueOperations();
Table streamOperations();
/// On storage of 4 MiB and more, of which a thread keeps some.
Table largeOperations();

struct Group {
    const char* name;
    Table (*operations)();
};

inline constexpr Group operationGroups[] = {
    {"Binary", binaryOperations},   {"Unary", unaryOperations},
    {"Reduce", reduceOperations},   {"Filter", filterOperations},
    {"Fourier", fourierOperations}, {"Geometry", geometryOperations},
    {"Fitting", fittingOperations}, {"Maps", mapsOperations},
    {"Value", valueOperations},     {"Stream", streamOperations},
    {"Large", largeOperations}};
