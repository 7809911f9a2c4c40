#include <algorithm>
#include <exception>
#include <utility>
#include <vector>

#include "dataprocessing/fitting/dasl.h"
#include "dataprocessing/valuemodel/cal_steps.h"
#include "dataprocessing/valuemodel/conv_check.h"
#include "dataprocessing/valuemodel/view.h"
#include "dataprocessing/valuemodel/view_make.h"

using namespace dataprocessing::detail;

namespace {

/// Puts the positions and the values of the `count` elements of all pieces one after the other.
void gather(const darr_c1DArray& data, const std::vector<view_cAxis>& pieces, int count,
            arr_cC_Array<double>& x, arr_cC_Array<double>& y) {
    arr_cC_Array<double> positions(count);
    arr_cC_Array<double> values(count);
    double* position = positions.begin();
    double* value = values.begin();
    for (const view_cAxis& piece : pieces) {
        const view_cView elements(data.Data(), data.DataType(), dtyp_Double, piece, view_Y(data));
        elements.Fetch(0, elements.Count(), value);
        value += elements.Count();
        cal_cSteps steps(piece.Cal());
        for (int i = 0; i < piece.Count(); ++i)
            *position++ = steps.Next();
    }
    x = std::move(positions);
    y = std::move(values);
}

} // namespace

dasl_c1DDataArraySelection::dasl_c1DDataArraySelection(rnge_eIndexSelect select)
    : select_(select) {}

dasl_c1DDataArraySelection&
dasl_c1DDataArraySelection::operator=(const dasl_c1DDataArraySelection& other) {
    clct_cSet<hndl_cHandle<rnge_c1DRange>> rangeList = other.rangeList_;
    std::vector<std::shared_ptr<rnge_c1DRange>> localRanges = other.localRanges_;
    // The former local ranges go last: by then nothing here refers to them.
    rangeList_ = std::move(rangeList);
    localRanges_.swap(localRanges);
    select_ = other.select_;
    return *this;
}

dasl_c1DDataArraySelection::~dasl_c1DDataArraySelection() { LeaveAll(); }

void dasl_c1DDataArraySelection::AddRange(rnge_c1DRange& range) {
    if (Join(range))
        SendMessage(dasl_SelectionChanged, nullptr);
}

void dasl_c1DDataArraySelection::AddLocalRange(const rnge_c1DRange& range) {
    localRanges_.push_back(std::make_shared<rnge_c1DRange>(range));
    try {
        Join(*localRanges_.back());
    } catch (...) {
        localRanges_.pop_back();
        throw;
    }
    // From here on receivers decide what becomes of the range, whatever they throw.
    SendMessage(dasl_SelectionChanged, nullptr);
}

bool dasl_c1DDataArraySelection::Join(rnge_c1DRange& range) {
    if (!rangeList_.Add(range))
        return false;
    try {
        range.AddReceiver(*this, mesg_AllClasses);
    } catch (...) {
        rangeList_.Remove(range);
        throw;
    }
    return true;
}

void dasl_c1DDataArraySelection::RemoveRange(rnge_c1DRange& range) {
    if (!rangeList_.Remove(range))
        return;
    range.RemoveReceiver(*this);
    SendMessage(dasl_SelectionChanged, nullptr);
}

type_cBoolean dasl_c1DDataArraySelection::HasRange(rnge_c1DRange& range) const {
    return rangeList_.Contains(range);
}

void dasl_c1DDataArraySelection::Clear() {
    // Once the list is empty, a local range that is destroyed is not found in it, and so nothing is
    // sent. One that a copy still has must not be heard of any more.
    rangeList_.Clear();
    const auto former = std::exchange(localRanges_, {});
    for (const std::shared_ptr<rnge_c1DRange>& range : former)
        range->RemoveReceiver(*this);
}

rnge_c1DRange dasl_c1DDataArraySelection::TotalRange() const {
    if (rangeList_.IsEmpty())
        return {};
    rnge_c1DRange total = *rangeList_[0];
    for (const hndl_cHandle<rnge_c1DRange>& range : rangeList_)
        total = total | *range;
    return total;
}

void dasl_c1DDataArraySelection::FillXY(const darr_c1DArray& data, arr_cC_Array<double>& x,
                                        arr_cC_Array<double>& y) const {
    x.SetSize(0);
    y.SetSize(0);
    std::vector<view_cAxis> pieces;
    int count = 0;
    std::exception_ptr refusal;
    try {
        for (const hndl_cHandle<rnge_c1DRange>& range : rangeList_) {
            // Elements outside of the array would be zeros that nobody measured.
            const rnge_c1DIndexRange all(*range, data.Cal(), select_);
            view_cAxis piece = view_X(data);
            piece.Select(std::clamp(all.First(), 0, data.Size()),
                         std::clamp(all.Last(), 0, data.Size()));
            if (piece.Count() == 0)
                continue;
            conv_Check(data.DataType(), dtyp_Double, conv_RealPart);
            const int longer = arr_CheckedSize(static_cast<long long>(count) + piece.Count());
            pieces.push_back(piece);
            count = longer;
        }
    } catch (const expt_cProgramException&) {
        refusal = std::current_exception(); // once the ranges before are there
    }
    gather(data, pieces, count, x, y);
    if (refusal)
        std::rethrow_exception(refusal);
}

void dasl_c1DDataArraySelection::ReceiveMessage(unsigned long id, mesg_cSender& sender,
                                                mesg_sMessageData*) {
    if (id == rnge_1DRangeChanged) {
        SendMessage(dasl_SelectionChanged, nullptr);
    } else if (id == mesg_SenderDestroyed) {
        for (int i = 0; i < rangeList_.Count(); ++i)
            if (static_cast<mesg_cSender*>(rangeList_[i].Get()) == &sender) {
                rangeList_.RemoveAt(i);
                SendMessage(dasl_SelectionChanged, nullptr);
                return;
            }
    }
}
