#include <iomanip>
#include <sstream>

#include "story.h"

namespace tour {

namespace {

void tellBytes(std::ostream& text, const std::string& bytes) {
    std::ostringstream line;
    line << std::hex << std::setfill('0');
    for (std::size_t i = 0; i < bytes.size(); ++i)
        line << (i % 16 == 0 ? "\n      " : " ") << std::setw(2)
             << static_cast<unsigned>(static_cast<unsigned char>(bytes[i]));
    text << line.str() << '\n';
}

const char* verdict(bool isRead, const trns_cCoordTransformation& a,
                    const trns_cCoordTransformation& b) {
    return isRead && a.Offset() == b.Offset() && a.Scale() == b.Scale() ? "the same to the last bit"
                                                                        : "something else";
}

} // namespace

void stepStreams(Story& story) {
    std::ostream& text = story.text;
    const darr_c1DArray& counts = story.spectrum.counts;
    const trns_cCoordTransformation axis(rnge_c1DRange(0, counts.Size()), counts.Range());
    text << "   From channels to the axis of the spectrum: channel 100 lies at "
         << axis.TransformFromBase(100) << ".\n";

    std::ostringstream written;
    tgio_cASCII_ostream textOut(written);
    bool isGood = textOut.Write(axis, "Axis");
    text << "   As text:\n\n";
    std::istringstream lines(written.str());
    for (std::string line; std::getline(lines, line);)
        text << "      " << line << '\n';
    trns_cCoordTransformation back;
    std::istringstream source(written.str());
    tgio_cASCII_istream textIn(source);
    isGood = isGood && textIn.Read(back);
    text << "\n   read back: " << verdict(isGood, axis, back) << '\n';

    std::ostringstream binary(std::ios::binary);
    tgio_cBinary_ostream binaryOut(binary);
    isGood = binaryOut.Write(axis, 1);
    text << "   As " << binary.str().size() << " bytes:\n";
    tellBytes(text, binary.str());
    back = trns_cCoordTransformation();
    std::istringstream bytes(binary.str(), std::ios::binary);
    tgio_cBinary_istream binaryIn(bytes);
    isGood = isGood && binaryIn.Read(back);
    text << "\n   read back: " << verdict(isGood, axis, back) << '\n';
}

} // namespace tour
