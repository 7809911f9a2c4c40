#include <iomanip>
#include <sstream>

#include "story.h"

namespace tour {

namespace {

/// The bytes as hexadecimal numbers, 16 in a line.
std::string shown(const std::string& bytes) {
    std::ostringstream text;
    text << std::hex << std::setfill('0');
    for (std::size_t i = 0; i < bytes.size(); ++i)
        text << (i == 0        ? ""
                 : i % 16 == 0 ? "\n"
                               : " ")
             << std::setw(2) << static_cast<unsigned>(static_cast<unsigned char>(bytes[i]));
    return text.str();
}

const char* verdict(bool isRead, const trns_cCoordTransformation& a,
                    const trns_cCoordTransformation& b) {
    return isRead && a.Offset() == b.Offset() && a.Scale() == b.Scale() ? "the same to the last bit"
                                                                        : "something else";
}

} // namespace

void stepStreams(Story& story) {
    Teller& teller = story.teller;
    const darr_c1DArray& counts = story.spectrum.counts;
    const trns_cCoordTransformation axis(rnge_c1DRange(0, counts.Size()), counts.Range());
    teller.Say("A transformation leads from channels to the axis of the spectrum: channel 100 lies "
               "at ",
               axis.TransformFromBase(100), ". It is written into a tagged stream as text:");

    std::ostringstream written;
    tgio_cASCII_ostream textOut(written);
    bool isGood = textOut.Write(axis, "Axis");
    teller.Quote(written.str());
    trns_cCoordTransformation back;
    std::istringstream source(written.str());
    tgio_cASCII_istream textIn(source);
    isGood = isGood && textIn.Read(back);
    teller.Say("Read back: ", verdict(isGood, axis, back), ".");

    std::ostringstream binary(std::ios::binary);
    tgio_cBinary_ostream binaryOut(binary);
    isGood = binaryOut.Write(axis, 1);
    teller.Say("And as ", binary.str().size(), " bytes:");
    teller.Quote(shown(binary.str()));
    back = trns_cCoordTransformation();
    std::istringstream bytes(binary.str(), std::ios::binary);
    tgio_cBinary_istream binaryIn(bytes);
    isGood = isGood && binaryIn.Read(back);
    teller.Say("Read back: ", verdict(isGood, axis, back), ".");
}

} // namespace tour
