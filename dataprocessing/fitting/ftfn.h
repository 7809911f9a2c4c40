#pragma once

/// @file
/// The base of all fitted curves.

#include "dataprocessing/base/arr.h"
#include "dataprocessing/dataprocessing_export.h"
#include "dataprocessing/exchange/mesg.h"
#include "dataprocessing/exchange/tgio.h"
#include "dataprocessing/fitting/dasl.h"
#include "dataprocessing/valuemodel/cal.h"
#include "dataprocessing/valuemodel/darr.h"

/// A curve that is fitted to what a selection takes of a calibrated 1D array.
///
/// Use: build the function on a selection, add ranges to the selection, call Refit, then Load for
/// the curve and ChiSquared for its quality. When the selection changes the function sends
/// `ftfn_FunctionChanged` once, without data, so that whoever shows the fit knows that it is stale;
/// nothing is refitted by itself.
///
/// The selection is referred to and **must outlive the use of the function** and of its copies; it
/// may be destroyed before them when they are only destroyed after that. A copy is not registered
/// with the selection and sends nothing when that changes. In tagged streams a function
/// is a named object: only its name is written and read.
class DATAPROCESSING_EXPORT ftfn_c1DFittingFunction : public tgio_cNamedTaggedStreamObject,
                                                      public mesg_cSender,
                                                      public mesg_cReceiver {
public:
    /// A copy of name and selection, which hears nothing.
    ftfn_c1DFittingFunction(const ftfn_c1DFittingFunction& other) = default;
    ftfn_c1DFittingFunction& operator=(const ftfn_c1DFittingFunction&) = delete;
    /// Leaves the selection.
    ~ftfn_c1DFittingFunction() override;

    /// Evaluates the curve into `values`, the size of which says how many: element `i` at position
    /// cal.Position(i), positions being accumulated by adding delta. Where the function has no
    /// value the element is 0. Throws what LoadValues throws, and the index error when LoadValues
    /// gives a position outside of `values`; `values` is unchanged then.
    virtual void Load(arr_cC_Array<double>& values, const cal_c1DArrayCal& cal) const;
    /// What Load gives for `count` elements, as an array of doubles on `cal`. Throws as Load, and
    /// the size error for a negative count.
    ///
    ///     const darr_c1DArray net = spectrum - background.Curve(spectrum.Cal(), spectrum.Size());
    darr_c1DArray Curve(const cal_c1DArrayCal& cal, int count) const;
    /// Evaluates the function: sets `y[i]` to its value at `x[i]`. A function that has no value at
    /// some positions shortens both arrays to those where it has. The base does nothing.
    virtual void LoadValues(arr_cC_Array<double>& x, arr_cC_Array<double>& y) const;
    /// Fits the function to the elements of `data` that the selection takes. Throws what
    /// dasl_c1DDataArraySelection::FillXY and the function's own fit throw; the previous fit then
    /// stays.
    virtual void Refit(const darr_c1DArray& data);
    /// The quality of the last fit.
    virtual double ChiSquared() const = 0;

protected:
    /// A nameless function of `selection`, with which it registers.
    explicit ftfn_c1DFittingFunction(dasl_c1DDataArraySelection& selection);

    /// The selection that the function is fitted over.
    dasl_c1DDataArraySelection& Selection() const noexcept { return selection_; }

    /// Gathers the points of `data` that a fit is made to: what dasl_c1DDataArraySelection::FillXY
    /// gathers, whose errors it throws.
    virtual void Gather(const darr_c1DArray& data, arr_cC_Array<double>& x,
                        arr_cC_Array<double>& y) const;
    /// Fits the parameters to the points (x[i], y[i]). The base does nothing.
    virtual void RefitValues(const arr_cC_Array<double>& x, const arr_cC_Array<double>& y);
    /// Sends `ftfn_FunctionChanged` when the selection has changed.
    void ReceiveMessage(unsigned long id, mesg_cSender& sender, mesg_sMessageData* data) override;

private:
    dasl_c1DDataArraySelection& selection_;
};
