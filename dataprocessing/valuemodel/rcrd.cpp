#include "dataprocessing/valuemodel/rcrd.h"

#include <climits>
#include <type_traits>

#include "dataprocessing/base/arr.h"
#include "dataprocessing/exchange/obty.h"
#include "dataprocessing/valuemodel/barr_make.h"
#include "dataprocessing/valuemodel/rcrd_object.h"

namespace dataprocessing::detail {

// clang-format off
template<> constexpr rcrd_sKind rcrd_kindOf<pnum_cNumber> = {obty_NumberString, obty_NumberType};
template<> constexpr rcrd_sKind rcrd_kindOf<parr_c1DNumberArray> = {obty_NumberArray1DString, obty_NumberArray1DType};
template<> constexpr rcrd_sKind rcrd_kindOf<parr_c2DNumberArray> = {obty_NumberArray2DString, obty_NumberArray2DType};
template<> constexpr rcrd_sKind rcrd_kindOf<darr_c1DArray> = {obty_Array1DString, obty_Array1DType};
template<> constexpr rcrd_sKind rcrd_kindOf<darr_c2DArray> = {obty_Array2DString, obty_Array2DType};
template<> constexpr rcrd_sKind rcrd_kindOf<barr_c1DBoolArray> = {obty_BoolArray1DString, obty_BoolArray1DType};
template<> constexpr rcrd_sKind rcrd_kindOf<barr_c2DBoolArray> = {obty_BoolArray2DString, obty_BoolArray2DType};
template<> constexpr rcrd_sKind rcrd_kindOf<cal_c1DArrayCal> = {obty_Calibration1DString, obty_Calibration1DType};
template<> constexpr rcrd_sKind rcrd_kindOf<cal_c2DArrayCal> = {obty_Calibration2DString, obty_Calibration2DType};
template<> constexpr rcrd_sKind rcrd_kindOf<rnge_c1DRange> = {obty_Range1DString, obty_Range1DType};
template<> constexpr rcrd_sKind rcrd_kindOf<rnge_c2DRange> = {obty_Range2DString, obty_Range2DType};
// clang-format on

} // namespace dataprocessing::detail

using namespace dataprocessing::detail;

namespace {

constexpr rcrd_sField typeField = {"Type", 257};
constexpr rcrd_sField elementsField = {"Elements", 266};

/// The fields of the axes: of the only one, or of X and of Y.
struct sAxisFields {
    rcrd_sField size, offset, delta, calIndex;
};
constexpr sAxisFields onlyAxis = {
    {"Size", 258}, {"Offset", 260}, {"Delta", 261}, {"CalIndex", 262}};
constexpr sAxisFields xAxis = {
    {"SizeX", 258}, {"OffsetX", 260}, {"DeltaX", 261}, {"CalIndexX", 262}};
constexpr sAxisFields yAxis = {
    {"SizeY", 259}, {"OffsetY", 263}, {"DeltaY", 264}, {"CalIndexY", 265}};

/// An axis while it is read and written.
struct sAxis {
    sAxis() = default;
    explicit sAxis(const cal_cArrayCal& cal)
        : offset(cal.Offset()), delta(cal.Delta()), calIndex(cal.CalIndex()) {}

    cal_cArrayCal Cal() const { return {offset, delta, calIndex}; }

    template<class Visit>
    void Fields(const sAxisFields& fields, Visit& visit) {
        visit(fields.offset, offset);
        visit(fields.delta, delta);
        visit(fields.calIndex, calIndex);
    }

    double offset = 0;
    double delta = 1;
    int calIndex = 0;
};

template<class Value>
constexpr bool isMask =
    std::is_same_v<Value, barr_c1DBoolArray> || std::is_same_v<Value, barr_c2DBoolArray>;
template<class Value>
constexpr bool isImage =
    std::is_base_of_v<parr_c2DNumberArray, Value> || std::is_same_v<Value, barr_c2DBoolArray>;
template<class Value>
constexpr bool hasCal =
    !std::is_same_v<Value, parr_c1DNumberArray> && !std::is_same_v<Value, parr_c2DNumberArray>;

template<class Value>
Value withSizes(dtyp_cDataType type, int sizeX, int sizeY) {
    if constexpr (isMask<Value>)
        return barr_Unset<Value>(sizeX, sizeY);
    else if constexpr (std::is_same_v<Value, parr_c1DNumberArray>)
        return {sizeX, type};
    else if constexpr (std::is_same_v<Value, parr_c2DNumberArray>)
        return {sizeX, sizeY, type};
    else if constexpr (isImage<Value>)
        return {sizeX, sizeY, type, cal_c2DArrayCal()};
    else
        return {sizeX, type, cal_c1DArrayCal()};
}

template<class Value>
class cImage;

template<>
class cImage<pnum_cNumber> final : public rcrd_cArray, public rcrd_sImageOf<pnum_cNumber> {
public:
    cImage() = default;
    explicit cImage(const pnum_cNumber& number) : number_(number), type_(number.DataType()) {}

    template<class Visit>
    void Fields(Visit visit) {
        visit(typeField, type_);
        visit(elementsField, block_.Of(*this));
    }
    rcrd_sElements Describe() const override {
        Require(type_.IsKnown());
        return {type_, 1, 1, number_.Data()};
    }
    void* Make() override {
        number_ = pnum_cNumber(type_);
        return number_.Data();
    }
    void Finish() { Require(block_.Room().IsFull()); }
    void MoveTo(pnum_cNumber& value) const { value = number_; }

private:
    pnum_cNumber number_;
    dtyp_cDataType type_{0};
    rcrd_cBlock block_;
};

/// Arrays of all kinds.
template<class Value>
class cImage final : public rcrd_cArray, public rcrd_sImageOf<Value> {
public:
    cImage() = default;
    explicit cImage(const Value& value) : source_(&value) {
        if constexpr (isMask<Value>)
            type_ = dtyp_UInt8;
        else
            type_ = value.DataType();
        if constexpr (isImage<Value>) {
            sizeX_ = value.SizeX();
            sizeY_ = value.SizeY();
        } else {
            sizeX_ = value.Size();
        }
        if constexpr (hasCal<Value> && isImage<Value>) {
            x_ = sAxis(value.Cal().X());
            y_ = sAxis(value.Cal().Y());
        } else if constexpr (hasCal<Value>) {
            x_ = sAxis(value.Cal());
        }
    }

    template<class Visit>
    void Fields(Visit visit) {
        const sAxisFields& x = isImage<Value> ? xAxis : onlyAxis;
        if constexpr (!isMask<Value>)
            visit(typeField, type_);
        visit(x.size, sizeX_);
        if constexpr (isImage<Value>)
            visit(yAxis.size, sizeY_);
        if constexpr (hasCal<Value>) {
            x_.Fields(x, visit);
            if constexpr (isImage<Value>)
                y_.Fields(yAxis, visit);
        }
        visit(elementsField, block_.Of(*this));
    }
    rcrd_sElements Describe() const override {
        Require(type_.IsKnown() && sizeX_ >= 0 && sizeY_ >= 0 &&
                static_cast<long long>(sizeX_) * sizeY_ <= INT_MAX);
        return {type_, sizeX_, sizeY_, source_ ? dataOf(*source_) : nullptr};
    }
    void* Make() override {
        value_ = withSizes<Value>(type_, sizeX_, sizeY_);
        return dataOf(value_);
    }
    void Finish() {
        Require(block_.Room().IsFull());
        if constexpr (hasCal<Value> && isImage<Value>)
            value_.SetCal(cal_c2DArrayCal(x_.Cal(), y_.Cal()));
        else if constexpr (hasCal<Value>)
            value_.SetCal(cal_c1DArrayCal(x_.Cal()));
    }
    void MoveTo(Value& value) { value = std::move(value_); }

private:
    template<class Some>
    static auto* dataOf(Some& value) {
        if constexpr (isMask<Value>)
            return isNone(value) ? nullptr : barr_Elements(value);
        else
            return value.Data();
    }
    static bool isNone(const Value& mask) {
        if constexpr (isImage<Value>)
            return mask.Count() == 0;
        else
            return mask.Size() == 0;
    }

    const Value* source_ = nullptr;
    Value value_;
    dtyp_cDataType type_{isMask<Value> ? dtyp_UInt8 : 0};
    int sizeX_ = -1;
    int sizeY_ = isImage<Value> ? -1 : 1;
    sAxis x_;
    sAxis y_;
    rcrd_cBlock block_;
};

template<>
class cImage<cal_c1DArrayCal> final : public rcrd_sImageOf<cal_c1DArrayCal> {
public:
    cImage() = default;
    explicit cImage(const cal_c1DArrayCal& cal) : axis_(cal) {}

    template<class Visit>
    void Fields(Visit visit) {
        axis_.Fields(onlyAxis, visit);
    }
    void Finish() const noexcept {}
    void MoveTo(cal_c1DArrayCal& value) const { value = cal_c1DArrayCal(axis_.Cal()); }

private:
    sAxis axis_;
};

template<>
class cImage<cal_c2DArrayCal> final : public rcrd_sImageOf<cal_c2DArrayCal> {
public:
    cImage() = default;
    explicit cImage(const cal_c2DArrayCal& cal) : x_(cal.X()), y_(cal.Y()) {}

    template<class Visit>
    void Fields(Visit visit) {
        x_.Fields(xAxis, visit);
        y_.Fields(yAxis, visit);
    }
    void Finish() const noexcept {}
    void MoveTo(cal_c2DArrayCal& value) const { value = cal_c2DArrayCal(x_.Cal(), y_.Cal()); }

private:
    sAxis x_;
    sAxis y_;
};

template<>
class cImage<rnge_c1DRange> final : public rcrd_sImageOf<rnge_c1DRange> {
public:
    cImage() = default;
    explicit cImage(const rnge_c1DRange& range) : start_(range.Start()), end_(range.End()) {}

    template<class Visit>
    void Fields(Visit visit) {
        visit(rcrd_sField{"Start", 267}, start_);
        visit(rcrd_sField{"End", 268}, end_);
    }
    void Finish() const noexcept {}
    void MoveTo(rnge_c1DRange& value) const { value.Set(start_, end_); }

private:
    double start_ = 0;
    double end_ = 0;
};

template<>
class cImage<rnge_c2DRange> final : public rcrd_sImageOf<rnge_c2DRange> {
public:
    cImage() = default;
    explicit cImage(const rnge_c2DRange& range)
        : left_(range.Left()), bottom_(range.Bottom()), right_(range.Right()), top_(range.Top()),
          centerX_(range.CenterX()), centerY_(range.CenterY()), length_(range.Length()),
          width_(range.Width()), angle_(range.Angle()) {}

    template<class Visit>
    void Fields(Visit visit) {
        visit(rcrd_sField{"Left", 269}, left_);
        visit(rcrd_sField{"Bottom", 270}, bottom_);
        visit(rcrd_sField{"Right", 271}, right_);
        visit(rcrd_sField{"Top", 272}, top_);
        visit(rcrd_sField{"CenterX", 273}, centerX_);
        visit(rcrd_sField{"CenterY", 274}, centerY_);
        visit(rcrd_sField{"Length", 275}, length_);
        visit(rcrd_sField{"Width", 276}, width_);
        visit(rcrd_sField{"Angle", 277}, angle_);
    }
    void Finish() const noexcept {}
    void MoveTo(rnge_c2DRange& value) const {
        value = angle_ == 0 ? rnge_c2DRange(left_, bottom_, right_, top_)
                            : rnge_c2DRange(centerX_, centerY_, length_, width_, angle_);
    }

private:
    double left_ = 0, bottom_ = 0, right_ = 0, top_ = 0;
    double centerX_ = 0, centerY_ = 0, length_ = 0, width_ = 0, angle_ = 0;
};

// What the fields beside the elements take, generously.
constexpr std::size_t fieldsRoom = 4096;

template<class Value>
void save(std::ostream& stream, const Value& value, rcrd_eForm form) {
    if constexpr (requires { value.DataType(); })
        if (!value.DataType().IsKnown())
            throw expt_cProgramException("rcrd", 1, "Elements of an unknown type cannot be saved.");
    cImage<Value> image(value);
    if constexpr (std::is_base_of_v<rcrd_cArray, cImage<Value>>)
        if (form == rcrd_Binary && image.Describe().Bytes() > UINT32_MAX - fieldsRoom)
            throw expt_cUserException("rcrd", 2, "The array is too large for a binary record.");
    rcrd_SaveImage(stream, std::move(image), form);
}

template<class Value>
void load(std::istream& stream, Value& value) {
    rcrd_LoadImage<cImage<Value>>(stream).MoveTo(value);
}

template<class Stream, class Value, class Label>
bool write(Stream& stream, const Value& value, const Label& label) noexcept {
    return rcrd_WriteImage(stream, cImage<Value>(value), label);
}

template<class Stream, class Value>
bool read(Stream& stream, Value& value) {
    return rcrd_ReadImage<cImage<Value>>(stream, value);
}

} // namespace

// clang-format off

void rcrd_Save(std::ostream& stream, const pnum_cNumber&        value, rcrd_eForm form) { save(stream, value, form); }
void rcrd_Save(std::ostream& stream, const parr_c1DNumberArray& value, rcrd_eForm form) { save(stream, value, form); }
void rcrd_Save(std::ostream& stream, const parr_c2DNumberArray& value, rcrd_eForm form) { save(stream, value, form); }
void rcrd_Save(std::ostream& stream, const darr_c1DArray&       value, rcrd_eForm form) { save(stream, value, form); }
void rcrd_Save(std::ostream& stream, const darr_c2DArray&       value, rcrd_eForm form) { save(stream, value, form); }
void rcrd_Save(std::ostream& stream, const barr_c1DBoolArray&   value, rcrd_eForm form) { save(stream, value, form); }
void rcrd_Save(std::ostream& stream, const barr_c2DBoolArray&   value, rcrd_eForm form) { save(stream, value, form); }
void rcrd_Save(std::ostream& stream, const cal_c1DArrayCal&     value, rcrd_eForm form) { save(stream, value, form); }
void rcrd_Save(std::ostream& stream, const cal_c2DArrayCal&     value, rcrd_eForm form) { save(stream, value, form); }
void rcrd_Save(std::ostream& stream, const rnge_c1DRange&       value, rcrd_eForm form) { save(stream, value, form); }
void rcrd_Save(std::ostream& stream, const rnge_c2DRange&       value, rcrd_eForm form) { save(stream, value, form); }

void rcrd_Load(std::istream& stream, pnum_cNumber&        value) { load(stream, value); }
void rcrd_Load(std::istream& stream, parr_c1DNumberArray& value) { load(stream, value); }
void rcrd_Load(std::istream& stream, parr_c2DNumberArray& value) { load(stream, value); }
void rcrd_Load(std::istream& stream, darr_c1DArray&       value) { load(stream, value); }
void rcrd_Load(std::istream& stream, darr_c2DArray&       value) { load(stream, value); }
void rcrd_Load(std::istream& stream, barr_c1DBoolArray&   value) { load(stream, value); }
void rcrd_Load(std::istream& stream, barr_c2DBoolArray&   value) { load(stream, value); }
void rcrd_Load(std::istream& stream, cal_c1DArrayCal&     value) { load(stream, value); }
void rcrd_Load(std::istream& stream, cal_c2DArrayCal&     value) { load(stream, value); }
void rcrd_Load(std::istream& stream, rnge_c1DRange&       value) { load(stream, value); }
void rcrd_Load(std::istream& stream, rnge_c2DRange&       value) { load(stream, value); }

type_cBoolean rcrd_Write(tgio_cASCII_ostream& stream, const pnum_cNumber&        value, const str_cString& name) noexcept { return write(stream, value, name); }
type_cBoolean rcrd_Write(tgio_cASCII_ostream& stream, const parr_c1DNumberArray& value, const str_cString& name) noexcept { return write(stream, value, name); }
type_cBoolean rcrd_Write(tgio_cASCII_ostream& stream, const parr_c2DNumberArray& value, const str_cString& name) noexcept { return write(stream, value, name); }
type_cBoolean rcrd_Write(tgio_cASCII_ostream& stream, const darr_c1DArray&       value, const str_cString& name) noexcept { return write(stream, value, name); }
type_cBoolean rcrd_Write(tgio_cASCII_ostream& stream, const darr_c2DArray&       value, const str_cString& name) noexcept { return write(stream, value, name); }
type_cBoolean rcrd_Write(tgio_cASCII_ostream& stream, const barr_c1DBoolArray&   value, const str_cString& name) noexcept { return write(stream, value, name); }
type_cBoolean rcrd_Write(tgio_cASCII_ostream& stream, const barr_c2DBoolArray&   value, const str_cString& name) noexcept { return write(stream, value, name); }
type_cBoolean rcrd_Write(tgio_cASCII_ostream& stream, const cal_c1DArrayCal&     value, const str_cString& name) noexcept { return write(stream, value, name); }
type_cBoolean rcrd_Write(tgio_cASCII_ostream& stream, const cal_c2DArrayCal&     value, const str_cString& name) noexcept { return write(stream, value, name); }
type_cBoolean rcrd_Write(tgio_cASCII_ostream& stream, const rnge_c1DRange&       value, const str_cString& name) noexcept { return write(stream, value, name); }
type_cBoolean rcrd_Write(tgio_cASCII_ostream& stream, const rnge_c2DRange&       value, const str_cString& name) noexcept { return write(stream, value, name); }

type_cBoolean rcrd_Write(tgio_cBinary_ostream& stream, const pnum_cNumber&        value, unsigned short tag) noexcept { return write(stream, value, tag); }
type_cBoolean rcrd_Write(tgio_cBinary_ostream& stream, const parr_c1DNumberArray& value, unsigned short tag) noexcept { return write(stream, value, tag); }
type_cBoolean rcrd_Write(tgio_cBinary_ostream& stream, const parr_c2DNumberArray& value, unsigned short tag) noexcept { return write(stream, value, tag); }
type_cBoolean rcrd_Write(tgio_cBinary_ostream& stream, const darr_c1DArray&       value, unsigned short tag) noexcept { return write(stream, value, tag); }
type_cBoolean rcrd_Write(tgio_cBinary_ostream& stream, const darr_c2DArray&       value, unsigned short tag) noexcept { return write(stream, value, tag); }
type_cBoolean rcrd_Write(tgio_cBinary_ostream& stream, const barr_c1DBoolArray&   value, unsigned short tag) noexcept { return write(stream, value, tag); }
type_cBoolean rcrd_Write(tgio_cBinary_ostream& stream, const barr_c2DBoolArray&   value, unsigned short tag) noexcept { return write(stream, value, tag); }
type_cBoolean rcrd_Write(tgio_cBinary_ostream& stream, const cal_c1DArrayCal&     value, unsigned short tag) noexcept { return write(stream, value, tag); }
type_cBoolean rcrd_Write(tgio_cBinary_ostream& stream, const cal_c2DArrayCal&     value, unsigned short tag) noexcept { return write(stream, value, tag); }
type_cBoolean rcrd_Write(tgio_cBinary_ostream& stream, const rnge_c1DRange&       value, unsigned short tag) noexcept { return write(stream, value, tag); }
type_cBoolean rcrd_Write(tgio_cBinary_ostream& stream, const rnge_c2DRange&       value, unsigned short tag) noexcept { return write(stream, value, tag); }

type_cBoolean rcrd_Read(tgio_cASCII_istream& stream, pnum_cNumber&        value) { return read(stream, value); }
type_cBoolean rcrd_Read(tgio_cASCII_istream& stream, parr_c1DNumberArray& value) { return read(stream, value); }
type_cBoolean rcrd_Read(tgio_cASCII_istream& stream, parr_c2DNumberArray& value) { return read(stream, value); }
type_cBoolean rcrd_Read(tgio_cASCII_istream& stream, darr_c1DArray&       value) { return read(stream, value); }
type_cBoolean rcrd_Read(tgio_cASCII_istream& stream, darr_c2DArray&       value) { return read(stream, value); }
type_cBoolean rcrd_Read(tgio_cASCII_istream& stream, barr_c1DBoolArray&   value) { return read(stream, value); }
type_cBoolean rcrd_Read(tgio_cASCII_istream& stream, barr_c2DBoolArray&   value) { return read(stream, value); }
type_cBoolean rcrd_Read(tgio_cASCII_istream& stream, cal_c1DArrayCal&     value) { return read(stream, value); }
type_cBoolean rcrd_Read(tgio_cASCII_istream& stream, cal_c2DArrayCal&     value) { return read(stream, value); }
type_cBoolean rcrd_Read(tgio_cASCII_istream& stream, rnge_c1DRange&       value) { return read(stream, value); }
type_cBoolean rcrd_Read(tgio_cASCII_istream& stream, rnge_c2DRange&       value) { return read(stream, value); }

type_cBoolean rcrd_Read(tgio_cBinary_istream& stream, pnum_cNumber&        value) { return read(stream, value); }
type_cBoolean rcrd_Read(tgio_cBinary_istream& stream, parr_c1DNumberArray& value) { return read(stream, value); }
type_cBoolean rcrd_Read(tgio_cBinary_istream& stream, parr_c2DNumberArray& value) { return read(stream, value); }
type_cBoolean rcrd_Read(tgio_cBinary_istream& stream, darr_c1DArray&       value) { return read(stream, value); }
type_cBoolean rcrd_Read(tgio_cBinary_istream& stream, darr_c2DArray&       value) { return read(stream, value); }
type_cBoolean rcrd_Read(tgio_cBinary_istream& stream, barr_c1DBoolArray&   value) { return read(stream, value); }
type_cBoolean rcrd_Read(tgio_cBinary_istream& stream, barr_c2DBoolArray&   value) { return read(stream, value); }
type_cBoolean rcrd_Read(tgio_cBinary_istream& stream, cal_c1DArrayCal&     value) { return read(stream, value); }
type_cBoolean rcrd_Read(tgio_cBinary_istream& stream, cal_c2DArrayCal&     value) { return read(stream, value); }
type_cBoolean rcrd_Read(tgio_cBinary_istream& stream, rnge_c1DRange&       value) { return read(stream, value); }
type_cBoolean rcrd_Read(tgio_cBinary_istream& stream, rnge_c2DRange&       value) { return read(stream, value); }
