// A user drags a range; the fit and the figures that depend on it follow.
#include <cstdio>
#include <fstream>
#include <iterator>
#include <vector>

#include "dataprocessing/dataprocessing.h"

std::vector<double> numbersOf(const char* name) {
    std::ifstream file(name);
    file.ignore(1000, '\n'); // the heading
    return {std::istream_iterator<double>(file), {}};
}

/// Shows the line in a range whenever that changes.
class cLineShown : public mesg_cReceiver {
public:
    cLineShown(const darr_c1DArray& spectrum, rnge_c1DRange& window)
        : spectrum_(spectrum), window_(window) {
        window_.AddReceiver(*this, mesg_Class(rnge_1DRangeChanged));
    }
    ~cLineShown() override { LeaveAll(); }

    void ReceiveMessage(unsigned long id, mesg_cSender&, mesg_sMessageData*) override {
        if (id != rnge_1DRangeChanged)
            return;
        std::printf("%.2f to %.2f keV: ", window_.Start(), window_.End());
        try {
            pkmd_cModel model;
            model.AddPeak(pkmd_Gaussian, 6.4, 800, 0.06);
            model.AddPolynomial({20});
            const pkmd_sResult found =
                pkmd_Fit(model, spectrum_, {.from = window_.Start(), .to = window_.End()});
            std::printf("line at %.3f keV\n", found.peaks[0].position);
        } catch (const expt_cProgramException& refusal) { // of every kind: see errors
            std::printf("no line, %s\n", refusal.what());
        }
    }

private:
    const darr_c1DArray& spectrum_;
    rnge_c1DRange& window_;
};

int main() {
    const darr_c1DArray spectrum(numbersOf("spectrum.txt"), cal_c1DArrayCal(0, 0.01, 0));
    rnge_c1DRange window(6.2, 6.6);
    {
        const cLineShown shown(spectrum, window);
        window.Set(6.2, 6.7);   // dragged
        window.SetEnd(6.75);    // one end of it
        window.SetEnd(6.75);    // nothing changes, nobody is told
        window.Set(11.2, 11.7); // beyond the spectrum
    }
    window.Set(0, 10); // nobody listens any more
}
