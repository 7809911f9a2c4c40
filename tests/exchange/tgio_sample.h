#pragma once

// An object with one field of every kind, objects of its own class among them.

#include <string>
#include <vector>

#include "dataprocessing/exchange/tgio.h"

// What a field is called in each format.
struct sField {
    const char* name;
    unsigned short tag;
};

inline constexpr sField valueField = {"Value", 256};
inline constexpr sField countField = {"Count", 257};
inline constexpr sField validField = {"Valid", 258};
inline constexpr sField unitField = {"Unit", 259};
inline constexpr sField childField = {"Child", 260};

// The two formats with one way to call them.
struct sAscii {
    using In = tgio_cASCII_istream;
    using Out = tgio_cASCII_ostream;
    static bool IsAt(const In& in, sField field) { return in.CurrentName() == field.name; }
    template<class Value>
    static bool Write(Out& out, const Value& value, sField field) {
        return out.Write(value, field.name);
    }
};

struct sBinary {
    using In = tgio_cBinary_istream;
    using Out = tgio_cBinary_ostream;
    static bool IsAt(const In& in, sField field) { return in.CurrentTag() == field.tag; }
    template<class Value>
    static bool Write(Out& out, const Value& value, sField field) {
        return out.Write(value, field.tag);
    }
};

class cSample : public tgio_cTaggedStreamObject {
public:
    double value = 0;
    int count = 0;
    type_cBoolean valid;
    str_cString unit;
    std::vector<cSample> children;

    const tgio_cObjectType& ObjectType() const override {
        static const tgio_cObjectType type("Sample", 5000);
        return type;
    }

private:
    template<class Format>
    bool ReadFields(typename Format::In& in) {
        bool ok = true;
        while (in.NextField() && ok) {
            if (Format::IsAt(in, valueField)) {
                ok = in.Read(value);
            } else if (Format::IsAt(in, countField)) {
                ok = in.Read(count);
            } else if (Format::IsAt(in, validField)) {
                ok = in.Read(valid);
            } else if (Format::IsAt(in, unitField)) {
                ok = in.Read(unit);
            } else if (Format::IsAt(in, childField)) {
                ok = in.Read(children.emplace_back());
            } else {
                ok = in.SkipObject();
            }
        }
        return ok;
    }

    template<class Format>
    bool WriteFields(typename Format::Out& out) const {
        bool ok = Format::Write(out, value, valueField) && Format::Write(out, count, countField) &&
                  Format::Write(out, valid, validField) && Format::Write(out, unit, unitField);
        for (const cSample& child : children)
            ok = ok && Format::Write(out, child, childField);
        return ok;
    }

    type_cBoolean Read(tgio_cASCII_istream& in) override { return ReadFields<sAscii>(in); }
    type_cBoolean Read(tgio_cBinary_istream& in) override { return ReadFields<sBinary>(in); }
    type_cBoolean Write(tgio_cASCII_ostream& out) const override {
        return WriteFields<sAscii>(out);
    }
    type_cBoolean Write(tgio_cBinary_ostream& out) const override {
        return WriteFields<sBinary>(out);
    }
};
