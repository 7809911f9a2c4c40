"""Everything that the library exports can be reached from Python."""

import pathlib
import re
import subprocess
import sys

import dataprocessing
import declarations
import pytest
from dataprocessing import _core

LIST = pathlib.Path(__file__).parents[2] / "tests/package/symbols.txt"

# What users do not meet: storage, handles, and what serves the exceptions.
LEFT_OUT = r"""
    dataprocessing::detail::   storage of arrays
    rcps::                     numerical routines that others use
    str_cString                Python's str
    arr_(Wide)?IndexError      raises IndexOutOfRangeError
    arr_SizeError              raises SizeError
    arr_WideIndexError         raises IndexOutOfRangeError
    arr_cIndexException        IndexOutOfRangeError
    arr_cSizeException         SizeError
    expt_                      ProgramError and DataError
    gsft_cFitException         FitError
    rcps_cRecipesException     SingularFitError
    operator<<                 what an object says of itself, repr()
    comp_                      Python's complex, numpy's complex64 and complex128
    mesg_cSender::(Forget|TakeLeave|sDeleteState)    inside of messages
    pnum_cNumber               numpy's numbers
    .*::ReceiveMessage         receivers call functions
    tgio_cTaggedStreamObject::Read(Atom|Data)?       what streams call
    tgio_cNamedTaggedStreamObject::(Read(Atom|Data)|Write|SetName|Name)    .name
    trns_cCoordTransformation::(Read|Write|ObjectType)  what streams call
    tgio_cNamedTaggedStreamObject::ObjectType        .object_type
    .*::(Gather|RefitValues|CheckPoints|FitPowers|Value|CopyParameters|FitSettings|Parameters)$  inside of fits
    parr_.*::(IndexOf|CheckedElements|CopyElements|NumberAt|ValueAt|RequireType)    inside of arrays
    nlsq_cModel                a Python function
    maps_c(Stack|Workspace)    numpy's arrays, a thread's own
    .*::DerivativeError        a Python function's
"""

# Where Python says it in another way.
SAID = {
    "operator&": "bnry_and", "operator&&": "bnry_and", "operator&=": "bnry_and", "operator|=": "bnry_or",
    "operator^": "Mask1D.__xor__", "operator^=": "Mask1D.__xor__", "barr_c1DBoolArray::CountTrue": "Mask1D.count",
    "barr_c2DBoolArray::CountTrue": "Mask2D.count", "darr_c2DArray::Value": "value",
    "darr_c2DArray::LineAtX": "line_at_x", "rnge_c2DRange::operator&": "rnge_c2DRange.intersection",
    "operator!": "bnry_not", "operator||": "bnry_or", "operator|": "rnge_c1DRange.union",
    **{f"operator{o}": "bnry_operate" for o in "+ - * / += -= *= /= == != < <= > >=".split()},
    "maps_cFilter::Cal": "maps_cFilter.axis", "pkmd_cModel::Curve": "pkmd_cModel.values",
    "cal_cArrayCal": "Axis", "cal_c1DArrayCal": "Axis", "cal_c2DArrayCal": "Axis",
    "cal_cArrayCal::Index": "Axis.nearest", "cal_cArrayCal::NearestIndex": "Axis.nearest",
    "cal_cArrayCal::Default": "Axis", "cal_c1DArrayCal::Default": "Axis", "cal_c2DArrayCal::Default": "Axis",
    "darr_c1DArray": "Array1D", "darr_c2DArray": "Array2D", "parr_c1DNumberArray": "Array1D",
    "parr_c2DNumberArray": "Array2D", "parr_cNumberArray": "Array1D", "barr_c1DBoolArray": "Mask1D",
    "barr_c2DBoolArray": "Mask2D", "barr_c1DBoolArray::Element": "Mask1D.__getitem__",
    "barr_c2DBoolArray::Element": "Mask2D.__getitem__", "barr_c1DBoolArray::Range": "Mask1D.range",
    "barr_c2DBoolArray::Range": "Mask2D.rect", "darr_c2DArray::Range": "Array2D.rect",
    "darr_c1DArray::Selection": "select", "darr_c2DArray::Selection": "select", "darr_c1DArray::Value": "value",
    "darr_c2DArray::LineAtY": "line_at_y", "parr_c1DNumberArray::SetSelection": "Array1D.__setitem__",
    "parr_c2DNumberArray::SetSelection": "Array2D.__setitem__", "parr_cNumberArray::SetNumberAt": "Array1D.__setitem__",
    "parr_cNumberArray::Convert": "conv_convert", "gsft_cGaussian::SetAmplitudeFromRatio": None,
    "rnge_c1DIndexRange": "selection", "rnge_c2DIndexRange": "selection", "rnge_c1DRange::operator&":
    "rnge_c1DRange.intersection", "rnge_c2DRange::Null": "rnge_c2DRange",
    "ramp_c1DRamp": "ramp_c1d_ramp", "ramp_c2DRamp": "ramp_c2d_ramp", "ramp_c1DRamp::SetCal": "ramp_c1d_ramp",
    "ramp_c1DRamp::SetRange": "ramp_c1d_ramp", "ramp_c2DRamp::SetCal": "ramp_c2d_ramp",
    "ramp_c2DRamp::SetRange": "ramp_c2d_ramp", "nlsq_cFunctionModel": "nlsq_fit",
    "nlsq_cFunctionModel::Evaluate": "nlsq_fit", "nlsq_sResult::Covariance": "nlsq_sResult.covariance",
    "tgio_cASCII_istream::Read": "tgio_cASCII_istream.read_double",
    "tgio_cBinary_istream::Read": "tgio_cBinary_istream.read_double",
    "pwft_cPowerLawFittingFunction::Load": "ftfn_c1DFittingFunction.load",
    "gsft_c1DGaussianFittingFunction::Refit": "gsft_c1DGaussianFittingFunction.refit",
}  # fmt: skip


def snake(name):
    prefix, mark, rest = name.rpartition("_")
    words = re.sub(r"(?<=[a-z0-9])(?=[A-Z])|(?<=[A-Z])(?=[A-Z][a-z])", "_", rest).lower()
    return (prefix + mark + words).replace("_c_", "_c")


def exported():
    """The functions and classes of the list, without arguments: {"four_FFT", "darr_c1DArray::Range", ...}."""
    names = set()
    for line in LIST.read_text().splitlines():
        if re.match(r"(typeinfo|vtable|non-virtual thunk)", line):
            continue
        name = re.sub(r"\[abi:\w+\]", "", line)
        operator = re.match(r"(?:(\w+)::)?(operator[^\w\s(]+)\(", name)
        name = operator.group(0)[:-1] if operator else name.split("(")[0]
        if "~" not in name and "::operator=" not in name:
            names.add(name)
    return sorted(names)


def left_out(name):
    return any(re.match(line.split()[0], name) for line in LEFT_OUT.strip().splitlines())


def reached(name):
    """Where `_core` has it."""
    said = SAID.get(name)
    if said is None:
        owner, _, method = name.rpartition("::")
        if not owner:
            said = snake(name) if "_c" not in name or hasattr(_core, snake(name)) else name
        elif method == owner:
            said = SAID.get(owner, owner)
        else:
            said = f"{SAID.get(owner, owner)}.{snake(method)}"
    found = _core
    for part in said.split("."):
        found = getattr(found, part, None)
    return found


@pytest.mark.parametrize("name", [name for name in exported() if not left_out(name)])
def test_can_be_reached(name):
    assert reached(name) is not None


@pytest.mark.parametrize("name", dataprocessing.__all__)
def test_what_is_listed_is_there_and_documented(name):
    found = getattr(dataprocessing, name)
    assert found.__doc__ and len(found.__doc__) > 20


def test_every_reason_for_leaving_out_is_needed():
    names = exported()
    for line in LEFT_OUT.strip().splitlines():
        pattern = line.split()[0]
        assert any(re.match(pattern, name) for name in names), pattern


# What only the headers have, without a symbol of its own, and why Python does without.
ONLY_IN_HEADERS = r"""
    .*operator.*|.*~.*|begin|end                Python's own
    (arr|clct|list|hndl|type)_                  containers; Python has its own
    (dtyp|grid|pos)_                            numpy's dtypes; an Axis and a count; two numbers
    (barr|parr)_c\w+Iterator                    iter(a)
    \w+_s(\w*Options|Control|Units|Range)$      arguments with names
    (nlsq|maps|mesg|pkmd)_s(DerivativeCheck|Iteration|Layout|PeakPlanes|Planes|Spectra|Background|MessageData|Interval)$    tuples and dicts
    mesg_Class|tgio_c(ObjectType|Stream)        inside of messages and streams
    warp_s2x3Map                                nested lists
    .*::infinity                                math.inf
    gsft_cGaussian::(hRef|SetRef)Gaussian       .reference and .set_reference
    rnge_c2DRange::(Left|Bottom|Right|Top|Center)[XY]?$    .corners and .center
    pkmd_cModel::(Backgrounds|Peaks|WidthLaw|eBackground|s\w+)    .names and .starts
    dasl_c1DDataArraySelection::RangeList       .ranges
"""

# Enumerators that are no members of an enumeration of Python's.
OTHER_ENUMERATORS = r"""
    arr_eFill           containers; Python has its own
    bnry_eMaskCal       masks lie where their data do
    darr_eInterpolation True and False
    dtyp_eDataType      numpy's dtypes
    eBackground         names of methods
    eKind               names of methods
    gsft_eParameter     names of parameters
    maps_eStatus        dp.maps.Status
    nlsq_eObserved      True and False
    pkmd_eParts         True and False
"""


def in_headers():
    """Names of functions and classes, those of methods where Python has the class, and enumerators."""
    names, enumerators = set(), set()
    for path in declarations.headers():
        found = declarations.declarations(path)
        names |= found[0]
        enumerators |= found[1]
    bound = {name for name in names if "::" not in name or hasattr(_core, name.rpartition("::")[0])}
    return sorted(bound - set(exported())), sorted(enumerators)


NAMES, ENUMERATORS = in_headers()


def given_up(name, reasons):
    return any(re.match(line.split()[0], name) for line in reasons.strip().splitlines())


@pytest.mark.parametrize("name", [name for name in NAMES if not left_out(name) and not given_up(name, ONLY_IN_HEADERS)])
def test_what_only_headers_have_can_be_reached(name):
    # A class under its own name, a setter as the property that it sets.
    assert hasattr(_core, name) or reached(name) is not None or reached(name.replace("::Set", "::")) is not None


@pytest.mark.parametrize("name", [name for name in ENUMERATORS if not given_up(name, OTHER_ENUMERATORS)])
def test_enumerators_can_be_reached(name):
    called = "_" + re.sub(r"(?<=[a-z0-9])(?=[A-Z])|(?<=[A-Z])(?=[A-Z][a-z])", "_", re.split("::|_", name)[-1]).upper() + "_"
    members = [member for kind in vars(_core).values() for member in getattr(kind, "__members__", ())]
    assert any(f"_{member}_" in called for member in members)


def test_every_reason_for_doing_without_is_needed():
    for reasons, names in ((ONLY_IN_HEADERS, NAMES), (OTHER_ENUMERATORS, ENUMERATORS)):
        for line in reasons.strip().splitlines():
            assert any(re.match(line.split()[0], name) for name in names), line


def test_headers_are_read_whole():
    assert {"cal_cArrayCal::SetDelta", "dtyp_Of", "pos_c2DPosition", "maps_sRange"} <= set(NAMES) | {
        name for path in declarations.headers() for name in declarations.declarations(path)[0]
    }
    assert {"unry_eMathUnaryOperation::unry_Exp", "eKind::Following"} <= set(ENUMERATORS)


AFTER_NUMPY = """
import sys, numpy
before = set(sys.modules)
import dataprocessing
print(*sorted({name.partition(".")[0] for name in set(sys.modules) - before}))
"""


def test_importing_takes_little_along():
    done = subprocess.run([sys.executable, "-c", AFTER_NUMPY], capture_output=True, text=True, check=True)
    assert not {"typing", "dataclasses", "inspect", "matplotlib", "xarray", "dask", "hyperspy", "zlib"} & set(done.stdout.split())


def test_what_is_loaded_later_is_listed():
    assert set(dataprocessing.__all__) <= set(dir(dataprocessing))
    with pytest.raises(AttributeError, match="nothing"):
        dataprocessing.nothing
