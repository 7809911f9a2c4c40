#pragma once

/// @file
/// Selections: the ranges of a 1D array over which a curve is fitted.

#include <memory>
#include <vector>

#include "dataprocessing/base/arr.h"
#include "dataprocessing/base/clct.h"
#include "dataprocessing/base/hndl.h"
#include "dataprocessing/dataprocessing_export.h"
#include "dataprocessing/exchange/mesg.h"
#include "dataprocessing/valuemodel/darr.h"
#include "dataprocessing/valuemodel/rnge.h"

/// A set of ranges that listens to each of them and tells its own receivers when anything about
/// them changes.
///
/// Shared ranges (AddRange) belong to the caller; one that is destroyed leaves the selection. Local
/// ranges (AddLocalRange) are the selection's own copies. Whenever a range is added or removed,
/// moves, or is destroyed, the selection sends `dasl_SelectionChanged` once, without data.
///
/// A copy of a selection has the same ranges, the very same objects, and no receivers; **it is not
/// registered with the ranges**, so it hears neither that they move nor that they are destroyed:
/// the shared ones must outlive it. Local ranges live as long as the last selection that has them.
///
///     rnge_c1DRange window(6.0, 8.0);
///     dasl_c1DDataArraySelection selection(rnge_IndexNearest);
///     selection.AddRange(window);
///     window.SetEnd(9.0); // the selection sends dasl_SelectionChanged
class DATAPROCESSING_EXPORT dasl_c1DDataArraySelection : public mesg_cSender,
                                                         public mesg_cReceiver {
public:
    /// No range; `select` turns ranges into array indices.
    explicit dasl_c1DDataArraySelection(rnge_eIndexSelect select);
    /// The ranges and the index rule of `other`; see above.
    dasl_c1DDataArraySelection(const dasl_c1DDataArraySelection& other) = default;
    /// Takes the ranges and the index rule of `other` as a copy does, and sends nothing. It stays
    /// registered with the ranges that it had, local ones that a copy still has among them.
    dasl_c1DDataArraySelection& operator=(const dasl_c1DDataArraySelection& other);
    /// Lets go of the ranges, then tells the receivers `mesg_SenderDestroyed`.
    ~dasl_c1DDataArraySelection() override;

    /// Adds a range of the caller's and registers with it for all of its messages; does nothing
    /// when that very range is there already. Throws std::bad_alloc, and nothing has changed; an
    /// exception of a receiver passes, and the range is there.
    void AddRange(rnge_c1DRange& range);
    /// Adds a copy of `range` that the selection owns. Throws as AddRange does.
    void AddLocalRange(const rnge_c1DRange& range);
    /// Removes that very range, whose place the last one takes; does nothing when it is not there.
    /// A local range lives on until Clear or the end of the selection. An exception of a receiver
    /// passes, and the range is gone.
    void RemoveRange(rnge_c1DRange& range);
    /// True when that very range is there.
    type_cBoolean HasRange(rnge_c1DRange& range) const;
    /// Removes every range, and sends nothing. The selection stays registered with shared ranges.
    void Clear();

    /// The union of all ranges; the zero range when there are none.
    rnge_c1DRange TotalRange() const;

    /// Gathers the positions and the values, as doubles, of the elements of `data` inside the
    /// ranges, range after range in the order of RangeList(). A range counts as far as it reaches
    /// into the array. Elements covered by two ranges occur twice; nothing is sorted. The position
    /// of the first element of each range is its calibrated one, each next one a delta further by
    /// addition. Of complex data the real parts are taken.
    ///
    /// Throws the index error for a range with a NaN bound, for data of delta 0, and where the
    /// calibration index of a range's elements would leave int; the size error for more than 2^31-1
    /// points; expt_cProgramException for an unknown element type or index rule. `x` and `y` then
    /// hold what was gathered of the ranges before. Throws std::bad_alloc, and they are empty.
    void FillXY(const darr_c1DArray& data, arr_cC_Array<double>& x, arr_cC_Array<double>& y) const;

    /// The ranges, in the order in which they were added, as removals have changed it.
    const clct_cSet<hndl_cHandle<rnge_c1DRange>>& RangeList() const noexcept { return rangeList_; }

private:
    /// Puts the range into the list and registers with it, or does neither; false when it was
    /// there.
    DATAPROCESSING_NO_EXPORT bool Join(rnge_c1DRange& range);
    void ReceiveMessage(unsigned long id, mesg_cSender& sender, mesg_sMessageData* data) override;

    clct_cSet<hndl_cHandle<rnge_c1DRange>> rangeList_;
    std::vector<std::shared_ptr<rnge_c1DRange>> localRanges_;
    rnge_eIndexSelect select_;
};
