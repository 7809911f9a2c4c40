#include "dataprocessing/binary/binary1_kernels.h"

#include <algorithm>
#include <cstdint>

#include "dataprocessing/kernels/arit.h"
#include "dataprocessing/kernels/ipl.h"
#include "dataprocessing/valuemodel/view_source.h"

namespace dataprocessing::detail {

namespace {

/// How the image library serves an element type: not at all when `chunk` is 0.
struct sImageService {
    int depth;
    int chunk;
};

constexpr sImageService imageService(dtyp_cDataType type, int operation) noexcept {
    if (operation < arit_Add || operation > arit_Multiply)
        return {0, 0};
    switch (type.Code()) {
    case dtyp_Int16:
        return {IPL_DEPTH_16S, 4};
    case dtyp_Int32:
        return {IPL_DEPTH_32S, 2};
    case dtyp_Float:
        return {IPL_DEPTH_32F, 2};
    default:
        return {0, 0};
    }
}

ipl_sImage rowHeader(int depth, int width, const void* data) noexcept {
    ipl_sImage image = ipl_Header(1, 0, depth, "GRAY", "GRAY", IPL_DATA_ORDER_PIXEL, IPL_ORIGIN_BL,
                                  IPL_ALIGN_QWORD, width, 1, nullptr, nullptr, nullptr, nullptr);
    image.data = const_cast<void*>(data); // a source header is only read through
    return image;
}

arit_eForm formOf(bool firstIsArray, bool secondIsArray) noexcept {
    return !firstIsArray ? arit_NumberFirst : secondIsArray ? arit_Arrays : arit_NumberSecond;
}

void combineRows(const void* a, const void* b, void* result, int depth, int width,
                 arit_eOperation operation, arit_eForm form, level_eSet level) noexcept {
    ipl_sImage target = rowHeader(depth, width, result);
    if (form == arit_Arrays) {
        const ipl_sImage first = rowHeader(depth, width, a);
        const ipl_sImage second = rowHeader(depth, width, b);
        ipl_Combine(operation, &first, &second, &target, level);
        return;
    }
    // The subtraction is never flipped, not even for a number minus an array: whole chunks of that
    // hold the array's element minus the number, and callers rely on it.
    const ipl_sImage source = rowHeader(depth, width, form == arit_NumberFirst ? b : a);
    const void* number = form == arit_NumberFirst ? a : b;
    switch (depth) {
    case IPL_DEPTH_16S:
        ipl_CombineScalar(operation, &source, &target, int{*static_cast<const short*>(number)},
                          false, level);
        break;
    case IPL_DEPTH_32S:
        ipl_CombineScalar(operation, &source, &target,
                          static_cast<float>(*static_cast<const int*>(number)), false, level);
        break;
    default:
        ipl_CombineScalar(operation, &source, &target, *static_cast<const float*>(number), false,
                          level);
    }
}

const void* advanced(const void* data, std::size_t bytes) noexcept {
    return static_cast<const std::byte*>(data) + bytes;
}

void* advanced(void* data, std::size_t bytes) noexcept {
    return static_cast<std::byte*>(data) + bytes;
}

} // namespace

void bnry_RunKernel(const void* a, const void* b, void* result,
                    const bnry_sAritOperation& operation, level_eSet level) {
    const dtyp_cDataType type(operation.dataType);
    const arit_eForm form = formOf(operation.firstIsArray != 0, operation.secondIsArray != 0);
    const arit_Loop loop = arit_PlainLoop(type, operation.operation, form, level);
    if (loop == nullptr || operation.count <= 0)
        return;

    const sImageService image = imageService(type, operation.operation);
    const int rows = image.chunk == 0 ? 0 : operation.count - operation.count % image.chunk;
    if (rows != 0)
        combineRows(a, b, result, image.depth, rows,
                    static_cast<arit_eOperation>(operation.operation), form, level);
    if (rows == operation.count)
        return;
    const std::size_t done = static_cast<std::size_t>(rows) * type.SizeOf();
    loop(form == arit_NumberFirst ? a : advanced(a, done),
         form == arit_NumberSecond ? b : advanced(b, done), advanced(result, done),
         static_cast<std::size_t>(operation.count - rows));
}

namespace {

// Three blocks and what they come from stay in the first-level cache.
constexpr std::size_t blockBytes = 4096;

/// The elements of `operand` in the common type.
view_cSource converted(const bnry_cOperand& operand) noexcept {
    const view_cView* view = operand.View();
    return view == nullptr ? view_cSource(operand.Element()) : view_cSource(*view);
}

/// The elements of `operand` as they are stored; it is a number, or a view of stored elements in
/// their order.
view_cSource stored(const bnry_cOperand& operand) noexcept {
    const view_cView* view = operand.View();
    return view == nullptr ? view_cSource(operand.Element())
                           : view_cSource(view->Stored(), view->StoredType().SizeOf());
}

/// The elements [first, last) of a result, which are computed at `level`.
struct sPart {
    dtyp_cDataType type;
    void* result;
    std::size_t first;
    std::size_t last;
    level_eSet level;
};

bool streams(const sPart& part) noexcept {
    return (part.last - part.first) * part.type.SizeOf() >= arit_StreamFrom;
}

/// Calls step(a, b, result, count), which answers whether to go on, block by block.
template<class Step>
bool runBlocks(const view_cSource& a, const view_cSource& b, const sPart& part, const Step& step) {
    const std::size_t size = part.type.SizeOf();
    const bool toStream = streams(part);
    alignas(64) std::byte blockA[blockBytes];
    alignas(64) std::byte blockB[blockBytes];
    alignas(64) std::byte blockResult[blockBytes];
    for (std::size_t first = part.first; first < part.last; first += blockBytes / size) {
        const std::size_t count = std::min(blockBytes / size, part.last - first);
        void* target = advanced(part.result, first * size);
        void* written = toStream ? blockResult : target;
        if (!step(a.Read(first, count, blockA), b.Read(first, count, blockB), written, count))
            return false;
        if (toStream)
            arit_StreamOut(target, written, count * size, part.level);
    }
    if (toStream)
        arit_EndStreaming();
    return true;
}

/// The same at once where nothing must be fetched and the result is not streamed.
template<class Step>
bool run(const view_cSource& a, const view_cSource& b, const sPart& part, const Step& step) {
    if (part.first == part.last)
        return true;
    if (streams(part) || !a.InPlace() || !b.InPlace())
        return runBlocks(a, b, part, step);
    return step(a.Read(part.first, 0, nullptr), b.Read(part.first, 0, nullptr),
                advanced(part.result, part.first * part.type.SizeOf()), part.last - part.first);
}

/// The type that an operand's elements are stored as; `type` for a number, code 0 for a view whose
/// elements are not stored in the order in which they are seen.
dtyp_cDataType storedType(const bnry_cOperand& operand, dtyp_cDataType type) noexcept {
    if (operand.View() == nullptr)
        return type;
    return operand.View()->Stored() != nullptr ? operand.View()->StoredType() : dtyp_cDataType(0);
}

/// The number as an element of the image library's arithmetic.
class cImageScalar {
public:
    cImageScalar(const void* element, dtyp_cDataType type) noexcept : element_(element) {
        if (type == dtyp_Int32) {
            passed_ = ipl_IntegerOf(static_cast<float>(*static_cast<const int*>(element)));
            element_ = &passed_;
        }
    }
    cImageScalar(const cImageScalar&) = delete;
    cImageScalar& operator=(const cImageScalar&) = delete;

    const void* Element() const noexcept { return element_; }

private:
    int passed_ = 0;
    const void* element_;
};

arit_eForm formOf(const bnry_cOperand& a, const bnry_cOperand& b) noexcept {
    return formOf(a.View() != nullptr, b.View() != nullptr);
}

/// Runs the plain loop over a part, widening on the way where there is a loop for that.
void runLoop(int operation, const bnry_cOperand& a, const bnry_cOperand& b, const sPart& part) {
    const arit_eForm form = formOf(a, b);
    const auto toTheEnd = [](arit_Loop loop) {
        return [loop](const void* first, const void* second, void* result, std::size_t count) {
            loop(first, second, result, count);
            return true;
        };
    };
    if (const arit_Loop loop =
            arit_WideningLoop(part.type, storedType(a, part.type), storedType(b, part.type),
                              operation, form, part.level))
        run(stored(a), stored(b), part, toTheEnd(loop));
    else if (const arit_Loop plain = arit_PlainLoop(part.type, operation, form, part.level))
        run(converted(a), converted(b), part, toTheEnd(plain));
}

} // namespace

void bnry_Compute(int operation, dtyp_cDataType type, const bnry_cOperand& a,
                  const bnry_cOperand& b, void* result, std::size_t count, level_eSet level) {
    const sPart all{type, result, 0, count, level};
    if (storedType(a, type) == type && storedType(b, type) == type && !streams(all)) {
        const void* first = a.View() != nullptr ? a.View()->Direct() : a.Element();
        const void* second = b.View() != nullptr ? b.View()->Direct() : b.Element();
        bnry_RunKernel(first, second, result,
                       {operation, type.Code(), a.View() != nullptr, b.View() != nullptr,
                        static_cast<int>(count)},
                       level);
        return;
    }

    // With two arrays the image library computes what the plain loops do. With a number it takes
    // the whole chunks, as array op number.
    const sImageService image = imageService(type, operation);
    const arit_eForm form = formOf(a, b);
    const std::size_t rows = image.chunk == 0 || form == arit_Arrays
                                 ? 0
                                 : count - count % static_cast<std::size_t>(image.chunk);
    if (rows != 0) {
        const cImageScalar scalar(form == arit_NumberFirst ? a.Element() : b.Element(), type);
        runLoop(operation, form == arit_NumberFirst ? b : a, bnry_cOperand(scalar.Element()),
                {type, result, 0, rows, level});
    }
    runLoop(operation, a, b, {type, result, rows, count, level});
}

bool bnry_DivideTesting(dtyp_cDataType type, const bnry_cOperand& a, const bnry_cOperand& b,
                        void* result, std::size_t count, level_eSet level) {
    if (count == 0)
        return false;
    if (b.View() == nullptr) {
        if (arit_IsZero(type, b.Element()))
            return true;
        bnry_Compute(arit_Divide, type, a, b, result, count, level);
        return false;
    }

    const arit_eForm form = formOf(a, b);
    const sPart all{type, result, 0, count, level};
    const auto testing = [](arit_TestingLoop loop) {
        return [loop](const void* first, const void* second, void* quotients, std::size_t number) {
            return !loop(first, second, quotients, number);
        };
    };
    if (const arit_TestingLoop loop =
            arit_TestingDivision(type, storedType(a, type), storedType(b, type), form, level))
        return !run(stored(a), stored(b), all, testing(loop));
    return !run(converted(a), converted(b), all,
                testing(arit_TestingDivision(type, type, type, form, level)));
}

} // namespace dataprocessing::detail
