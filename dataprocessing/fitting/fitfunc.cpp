#include <utility>

#include "dataprocessing/fitting/ftfn.h"
#include "dataprocessing/valuemodel/cal_steps.h"

using dataprocessing::detail::cal_cSteps;

ftfn_c1DFittingFunction::ftfn_c1DFittingFunction(dasl_c1DDataArraySelection& selection)
    : tgio_cNamedTaggedStreamObject(str_cString::Null), selection_(selection) {
    selection_.AddReceiver(*this, mesg_AllClasses);
}

// Which needs no selection that is still there.
ftfn_c1DFittingFunction::~ftfn_c1DFittingFunction() { LeaveAll(); }

void ftfn_c1DFittingFunction::Load(arr_cC_Array<double>& values, const cal_c1DArrayCal& cal) const {
    const int count = values.Size();
    arr_cC_Array<double> x(count);
    cal_cSteps steps(cal);
    for (double& position : x)
        position = steps.Next();
    arr_cC_Array<double> y(count, 0.0);
    LoadValues(x, y);
    if (y.Size() != count) {
        arr_cC_Array<double> all(count, 0.0);
        for (int k = 0; k < y.Size(); ++k)
            all[cal.Index(x[k])] = y[k];
        y = std::move(all);
    }
    values.CopyIn(y.Data(), count, 0, 0);
}

darr_c1DArray ftfn_c1DFittingFunction::Curve(const cal_c1DArrayCal& cal, int count) const {
    arr_cC_Array<double> values(count);
    Load(values, cal);
    return darr_c1DArray(values, cal);
}

void ftfn_c1DFittingFunction::LoadValues(arr_cC_Array<double>&, arr_cC_Array<double>&) const {}

void ftfn_c1DFittingFunction::Refit(const darr_c1DArray& data) {
    arr_cC_Array<double> x;
    arr_cC_Array<double> y;
    Gather(data, x, y);
    RefitValues(x, y);
}

void ftfn_c1DFittingFunction::Gather(const darr_c1DArray& data, arr_cC_Array<double>& x,
                                     arr_cC_Array<double>& y) const {
    selection_.FillXY(data, x, y);
}

void ftfn_c1DFittingFunction::RefitValues(const arr_cC_Array<double>&,
                                          const arr_cC_Array<double>&) {}

void ftfn_c1DFittingFunction::ReceiveMessage(unsigned long id, mesg_cSender&, mesg_sMessageData*) {
    if (id == dasl_SelectionChanged)
        SendMessage(ftfn_FunctionChanged, nullptr);
}
