#pragma once

/// @file
/// Records: values saved to streams and loaded again.
///
/// @code
/// std::ofstream file("spectrum.rec", std::ios::binary);
/// rcrd_Save(file, spectrum);
///
/// std::ifstream file("spectrum.rec", std::ios::binary);
/// darr_c1DArray spectrum;
/// rcrd_Load(file, spectrum);
/// @endcode
///
/// A record is an object of a tagged stream (tgio.h), so records stand in a stream one after the
/// other, beside and within other objects. What comes back is what was saved, bit for bit: type,
/// elements with -0, infinities and NaN, sizes, calibration. Of a NaN in the text form only the
/// sign comes back; a rectangle comes back with the corners and the angle that it had.
///
/// **Fields.** Every record has the version 1 and the fields of its kind; `X` and `Y` are left out
/// of the names where there is only one axis. A reader takes them in any order, but the elements
/// after what says how many they are, and skips those that it does not know.
///
/// - `pnum_cNumber`, object `Number` (4098): Type, Elements.
/// - `parr_c1DNumberArray`, `NumberArray1D` (4099): Type, Size, Elements.
/// - `parr_c2DNumberArray`, `NumberArray2D` (4100): Type, SizeX, SizeY, Elements.
/// - `darr_c1DArray`, `Array1D` (4101), and `darr_c2DArray`, `Array2D` (4102): the same,
///   and of each axis Offset, Delta, CalIndex.
/// - `barr_c1DBoolArray`, `BoolArray1D` (4103), and `barr_c2DBoolArray`, `BoolArray2D`
///   (4104): those of an array without Type.
/// - `cal_c1DArrayCal`, `Calibration1D` (4105), and `cal_c2DArrayCal`, `Calibration2D` (4106): of
///   each axis Offset, Delta, CalIndex.
/// - `rnge_c1DRange`, `Range1D` (4107): Start, End.
/// - `rnge_c2DRange`, `Range2D` (4108): Left, Bottom, Right, Top, CenterX, CenterY, Length, Width,
///   Angle.
///
/// Binary tags: 256 Version, 257 Type (the code of dtyp_eDataType), 258 SizeX, 259 SizeY, 260
/// OffsetX, 261 DeltaX, 262 CalIndexX, 263 to 265 those of Y, 266 Elements, 267 Start, 268 End,
/// 269 to 277 the nine of a rectangle. The payload of the elements is what lies in memory,
/// little-endian, row after row: real part before imaginary part, a byte for a truth, 0 for false.
/// In the text form `Type` is a word such as "UInt16" or "ComplexFloat", and the elements are texts
/// of up to 16 numbers, as many fields as it takes, a new one for each row: shortest decimals that
/// read back to the same bits, a complex one as "re,im". Read are texts of any length, with any
/// number of spaces before, between and after the numbers.
///
/// **Damage.** Whatever the bytes are, the target of a failed read is as it was, and nothing is
/// allocated that the stream merely claims.

#include <iosfwd>

#include "dataprocessing/base/str.h"
#include "dataprocessing/dataprocessing_export.h"
#include "dataprocessing/exchange/tgio.h"
#include "dataprocessing/valuemodel/barr.h"
#include "dataprocessing/valuemodel/cal.h"
#include "dataprocessing/valuemodel/darr.h"
#include "dataprocessing/valuemodel/parr.h"
#include "dataprocessing/valuemodel/pnum.h"
#include "dataprocessing/valuemodel/rnge.h"

/// The forms of a record.
enum rcrd_eForm : int {
    rcrd_Binary, ///< for programs: as fast as memory
    rcrd_Text    ///< for people
};

// clang-format off

/// @name Saving
/// Writes `value` to `stream` as a record of its own, after what is there already. An array is
/// written from where it lies, without a copy. Open files with `std::ios::binary`.
///
/// Throws expt_cProgramException ("rcrd", 1) for elements of an unknown type; expt_cUserException
/// ("rcrd", 2) for an array of 4 GiB or more in the binary form, ("rcrd", 3) when the stream does
/// not take the record; std::bad_alloc.
/// @{
DATAPROCESSING_EXPORT void rcrd_Save(std::ostream& stream, const pnum_cNumber&        value, rcrd_eForm form = rcrd_Binary);
DATAPROCESSING_EXPORT void rcrd_Save(std::ostream& stream, const parr_c1DNumberArray& value, rcrd_eForm form = rcrd_Binary);
DATAPROCESSING_EXPORT void rcrd_Save(std::ostream& stream, const parr_c2DNumberArray& value, rcrd_eForm form = rcrd_Binary);
DATAPROCESSING_EXPORT void rcrd_Save(std::ostream& stream, const darr_c1DArray&       value, rcrd_eForm form = rcrd_Binary);
DATAPROCESSING_EXPORT void rcrd_Save(std::ostream& stream, const darr_c2DArray&       value, rcrd_eForm form = rcrd_Binary);
DATAPROCESSING_EXPORT void rcrd_Save(std::ostream& stream, const barr_c1DBoolArray&   value, rcrd_eForm form = rcrd_Binary);
DATAPROCESSING_EXPORT void rcrd_Save(std::ostream& stream, const barr_c2DBoolArray&   value, rcrd_eForm form = rcrd_Binary);
DATAPROCESSING_EXPORT void rcrd_Save(std::ostream& stream, const cal_c1DArrayCal&     value, rcrd_eForm form = rcrd_Binary);
DATAPROCESSING_EXPORT void rcrd_Save(std::ostream& stream, const cal_c2DArrayCal&     value, rcrd_eForm form = rcrd_Binary);
DATAPROCESSING_EXPORT void rcrd_Save(std::ostream& stream, const rnge_c1DRange&       value, rcrd_eForm form = rcrd_Binary);
DATAPROCESSING_EXPORT void rcrd_Save(std::ostream& stream, const rnge_c2DRange&       value, rcrd_eForm form = rcrd_Binary);
/// @}

/// @name Loading
/// Reads the next record of `stream`, of either form, into `value`, and leaves the stream after it.
/// Blanks and empty lines before it, or at the end of the stream, do not matter.
///
/// Throws expt_cUserException and leaves `value` as it was: ("rcrd", 4) when the stream has nothing
/// more, ("rcrd", 5) when what comes next is no record of such a value, ("rcrd", 6) when a later
/// version of the library has written it in a way that is not known yet, ("rcrd", 7) when it is
/// damaged or ends too early. Throws std::bad_alloc.
/// @{
DATAPROCESSING_EXPORT void rcrd_Load(std::istream& stream, pnum_cNumber&        value);
DATAPROCESSING_EXPORT void rcrd_Load(std::istream& stream, parr_c1DNumberArray& value);
DATAPROCESSING_EXPORT void rcrd_Load(std::istream& stream, parr_c2DNumberArray& value);
DATAPROCESSING_EXPORT void rcrd_Load(std::istream& stream, darr_c1DArray&       value);
DATAPROCESSING_EXPORT void rcrd_Load(std::istream& stream, darr_c2DArray&       value);
DATAPROCESSING_EXPORT void rcrd_Load(std::istream& stream, barr_c1DBoolArray&   value);
DATAPROCESSING_EXPORT void rcrd_Load(std::istream& stream, barr_c2DBoolArray&   value);
DATAPROCESSING_EXPORT void rcrd_Load(std::istream& stream, cal_c1DArrayCal&     value);
DATAPROCESSING_EXPORT void rcrd_Load(std::istream& stream, cal_c2DArrayCal&     value);
DATAPROCESSING_EXPORT void rcrd_Load(std::istream& stream, rnge_c1DRange&       value);
DATAPROCESSING_EXPORT void rcrd_Load(std::istream& stream, rnge_c2DRange&       value);
/// @}

/// @name Records as fields of an object
/// Writes `value` as a field; false, as all of tgio.h, when that fails.
/// @{
DATAPROCESSING_EXPORT type_cBoolean rcrd_Write(tgio_cASCII_ostream& stream, const pnum_cNumber&        value, const str_cString& name) noexcept;
DATAPROCESSING_EXPORT type_cBoolean rcrd_Write(tgio_cASCII_ostream& stream, const parr_c1DNumberArray& value, const str_cString& name) noexcept;
DATAPROCESSING_EXPORT type_cBoolean rcrd_Write(tgio_cASCII_ostream& stream, const parr_c2DNumberArray& value, const str_cString& name) noexcept;
DATAPROCESSING_EXPORT type_cBoolean rcrd_Write(tgio_cASCII_ostream& stream, const darr_c1DArray&       value, const str_cString& name) noexcept;
DATAPROCESSING_EXPORT type_cBoolean rcrd_Write(tgio_cASCII_ostream& stream, const darr_c2DArray&       value, const str_cString& name) noexcept;
DATAPROCESSING_EXPORT type_cBoolean rcrd_Write(tgio_cASCII_ostream& stream, const barr_c1DBoolArray&   value, const str_cString& name) noexcept;
DATAPROCESSING_EXPORT type_cBoolean rcrd_Write(tgio_cASCII_ostream& stream, const barr_c2DBoolArray&   value, const str_cString& name) noexcept;
DATAPROCESSING_EXPORT type_cBoolean rcrd_Write(tgio_cASCII_ostream& stream, const cal_c1DArrayCal&     value, const str_cString& name) noexcept;
DATAPROCESSING_EXPORT type_cBoolean rcrd_Write(tgio_cASCII_ostream& stream, const cal_c2DArrayCal&     value, const str_cString& name) noexcept;
DATAPROCESSING_EXPORT type_cBoolean rcrd_Write(tgio_cASCII_ostream& stream, const rnge_c1DRange&       value, const str_cString& name) noexcept;
DATAPROCESSING_EXPORT type_cBoolean rcrd_Write(tgio_cASCII_ostream& stream, const rnge_c2DRange&       value, const str_cString& name) noexcept;

DATAPROCESSING_EXPORT type_cBoolean rcrd_Write(tgio_cBinary_ostream& stream, const pnum_cNumber&        value, unsigned short tag) noexcept;
DATAPROCESSING_EXPORT type_cBoolean rcrd_Write(tgio_cBinary_ostream& stream, const parr_c1DNumberArray& value, unsigned short tag) noexcept;
DATAPROCESSING_EXPORT type_cBoolean rcrd_Write(tgio_cBinary_ostream& stream, const parr_c2DNumberArray& value, unsigned short tag) noexcept;
DATAPROCESSING_EXPORT type_cBoolean rcrd_Write(tgio_cBinary_ostream& stream, const darr_c1DArray&       value, unsigned short tag) noexcept;
DATAPROCESSING_EXPORT type_cBoolean rcrd_Write(tgio_cBinary_ostream& stream, const darr_c2DArray&       value, unsigned short tag) noexcept;
DATAPROCESSING_EXPORT type_cBoolean rcrd_Write(tgio_cBinary_ostream& stream, const barr_c1DBoolArray&   value, unsigned short tag) noexcept;
DATAPROCESSING_EXPORT type_cBoolean rcrd_Write(tgio_cBinary_ostream& stream, const barr_c2DBoolArray&   value, unsigned short tag) noexcept;
DATAPROCESSING_EXPORT type_cBoolean rcrd_Write(tgio_cBinary_ostream& stream, const cal_c1DArrayCal&     value, unsigned short tag) noexcept;
DATAPROCESSING_EXPORT type_cBoolean rcrd_Write(tgio_cBinary_ostream& stream, const cal_c2DArrayCal&     value, unsigned short tag) noexcept;
DATAPROCESSING_EXPORT type_cBoolean rcrd_Write(tgio_cBinary_ostream& stream, const rnge_c1DRange&       value, unsigned short tag) noexcept;
DATAPROCESSING_EXPORT type_cBoolean rcrd_Write(tgio_cBinary_ostream& stream, const rnge_c2DRange&       value, unsigned short tag) noexcept;
/// @}

/// @name Records among the fields of an object
/// Reads the value of the current field, or of the next one, into `value`; false, with `value` as it
/// was, when it is no such record or damaged. What the receivers of a range throw passes through.
/// @{
DATAPROCESSING_EXPORT type_cBoolean rcrd_Read(tgio_cASCII_istream& stream, pnum_cNumber&        value);
DATAPROCESSING_EXPORT type_cBoolean rcrd_Read(tgio_cASCII_istream& stream, parr_c1DNumberArray& value);
DATAPROCESSING_EXPORT type_cBoolean rcrd_Read(tgio_cASCII_istream& stream, parr_c2DNumberArray& value);
DATAPROCESSING_EXPORT type_cBoolean rcrd_Read(tgio_cASCII_istream& stream, darr_c1DArray&       value);
DATAPROCESSING_EXPORT type_cBoolean rcrd_Read(tgio_cASCII_istream& stream, darr_c2DArray&       value);
DATAPROCESSING_EXPORT type_cBoolean rcrd_Read(tgio_cASCII_istream& stream, barr_c1DBoolArray&   value);
DATAPROCESSING_EXPORT type_cBoolean rcrd_Read(tgio_cASCII_istream& stream, barr_c2DBoolArray&   value);
DATAPROCESSING_EXPORT type_cBoolean rcrd_Read(tgio_cASCII_istream& stream, cal_c1DArrayCal&     value);
DATAPROCESSING_EXPORT type_cBoolean rcrd_Read(tgio_cASCII_istream& stream, cal_c2DArrayCal&     value);
DATAPROCESSING_EXPORT type_cBoolean rcrd_Read(tgio_cASCII_istream& stream, rnge_c1DRange&       value);
DATAPROCESSING_EXPORT type_cBoolean rcrd_Read(tgio_cASCII_istream& stream, rnge_c2DRange&       value);

DATAPROCESSING_EXPORT type_cBoolean rcrd_Read(tgio_cBinary_istream& stream, pnum_cNumber&        value);
DATAPROCESSING_EXPORT type_cBoolean rcrd_Read(tgio_cBinary_istream& stream, parr_c1DNumberArray& value);
DATAPROCESSING_EXPORT type_cBoolean rcrd_Read(tgio_cBinary_istream& stream, parr_c2DNumberArray& value);
DATAPROCESSING_EXPORT type_cBoolean rcrd_Read(tgio_cBinary_istream& stream, darr_c1DArray&       value);
DATAPROCESSING_EXPORT type_cBoolean rcrd_Read(tgio_cBinary_istream& stream, darr_c2DArray&       value);
DATAPROCESSING_EXPORT type_cBoolean rcrd_Read(tgio_cBinary_istream& stream, barr_c1DBoolArray&   value);
DATAPROCESSING_EXPORT type_cBoolean rcrd_Read(tgio_cBinary_istream& stream, barr_c2DBoolArray&   value);
DATAPROCESSING_EXPORT type_cBoolean rcrd_Read(tgio_cBinary_istream& stream, cal_c1DArrayCal&     value);
DATAPROCESSING_EXPORT type_cBoolean rcrd_Read(tgio_cBinary_istream& stream, cal_c2DArrayCal&     value);
DATAPROCESSING_EXPORT type_cBoolean rcrd_Read(tgio_cBinary_istream& stream, rnge_c1DRange&       value);
DATAPROCESSING_EXPORT type_cBoolean rcrd_Read(tgio_cBinary_istream& stream, rnge_c2DRange&       value);
/// @}

// clang-format on
