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

/// Shows what is counted in a range whenever that changes.
class cCountsShown : public mesg_cReceiver {
public:
    cCountsShown(const darr_c1DArray& spectrum, rnge_c1DRange& window)
        : spectrum_(spectrum), window_(window) {
        window_.AddReceiver(*this, mesg_Class(rnge_1DRangeChanged));
    }
    ~cCountsShown() override { LeaveAll(); }

    void ReceiveMessage(unsigned long id, mesg_cSender&, mesg_sMessageData*) override {
        if (id != rnge_1DRangeChanged)
            return;
        const darr_c1DArray part = spectrum_.Selection(window_, rnge_IndexNearest);
        std::printf("%.0f counts from %.2f to %.2f keV\n", stat_Sum(part).As<double>(),
                    window_.Start(), window_.End());
    }

private:
    const darr_c1DArray& spectrum_;
    rnge_c1DRange& window_;
};

int main() {
    const darr_c1DArray spectrum(numbersOf("spectrum.txt"), cal_c1DArrayCal(0, 0.01, 0));
    rnge_c1DRange window(6.2, 6.6);
    {
        const cCountsShown shown(spectrum, window);
        window.Set(6.3, 6.5); // dragged
        window.SetEnd(6.55);  // one end of it
        window.SetEnd(6.55);  // nothing changes, nobody is told
    }
    window.Set(0, 10); // nobody listens any more
}
