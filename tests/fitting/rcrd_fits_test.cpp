#include "dataprocessing/fitting/rcrd_fits.h"

#include <cmath>
#include <filesystem>
#include <fstream>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/failing_new.h"
#include "tests/faults/bytes.h"
#include "tests/support/arrays.h"
#include "tests/support/constants.h"
#include "tests/support/records.h"
#include "tests/support/refusal.h"

namespace {

template<class Value>
std::string refusalOfLoading(const std::string& bytes, const Value& target) {
    return refusalOfLoading(bytes, target,
                            [](const Value& value) { return saved(value, rcrd_Text); });
}

std::string replaced(std::string text, const std::string& what, const std::string& by) {
    const std::size_t place = text.find(what);
    EXPECT_NE(place, text.npos) << what;
    return text.replace(place, what.size(), by);
}

nlsq_sResult sampleResult() {
    nlsq_sResult fit;
    fit.parameters = {1.5, -0.0, 1e300};
    fit.standardErrors = {0.1, 0, notANumber};
    fit.covariance = {0.01, 0, 0, 0, 0, 0, 0, 0, 1.0 / 3};
    fit.chiSquared = 12.25;
    fit.degreesOfFreedom = 10;
    fit.iterations = 7;
    fit.evaluations = 9;
    fit.end = nlsq_DecreaseSmall;
    fit.gradient = 1e-9;
    fit.step = 1e-10;
    fit.decrease = 1e-11;
    fit.free = 2;
    fit.rank = 1;
    fit.atBound = {1};
    fit.undetermined = {0, 2};
    return fit;
}

pkmd_sResult samplePeaks() {
    pkmd_sResult result;
    result.fit = sampleResult();
    result.peaks = {{pkmd_Gaussian, 6.4, 0.1, 900, 30, 0.06, 0.01, 0, 0, 135.35, 2},
                    {pkmd_Voigt, 7.06, 0.2, 150, 12, 0.07, 0.02, 0.3, 0.1, 30, 1}};
    result.names = {"position of peak 0", "a \"name\"\n", ""};
    result.channels = 77;
    return result;
}

std::string figuresOf(const nlsq_sResult& fit) {
    return bytesOf(fit.parameters, fit.standardErrors, fit.covariance, fit.chiSquared,
                   fit.degreesOfFreedom, fit.iterations, fit.evaluations, fit.end, fit.gradient,
                   fit.step, fit.decrease, fit.free, fit.rank, fit.atBound, fit.undetermined);
}

std::string figuresOf(const pkmd_sResult& result) {
    std::string figures = figuresOf(result.fit) + bytesOf(result.names, result.channels);
    for (const pkmd_sPeak& peak : result.peaks)
        figures += bytesOf(peak.shape, peak.position, peak.positionError, peak.height,
                           peak.heightError, peak.width, peak.widthError, peak.extra,
                           peak.extraError, peak.area, peak.areaError);
    return figures;
}

std::filesystem::path recordFile(const std::string& name) {
    return std::filesystem::path(__FILE__).parent_path() / "records" / name;
}

std::string contentOf(const std::string& name) {
    std::ifstream file(recordFile(name), std::ios::binary);
    EXPECT_TRUE(file) << name;
    return {std::istreambuf_iterator<char>(file), {}};
}

/// What a fit is made to.
struct Data {
    dasl_c1DDataArraySelection selection{rnge_IndexNearest};
    darr_c1DArray counts{{90.0, 70.0, 52.0, 41.0, 30.0, 25.0, 19.0, 16.0},
                         cal_c1DArrayCal(2, 1, 0)};
    Data() { selection.AddLocalRange(counts.Range()); }
};

/// Parts of every kind, some of them added after the law of widths.
pkmd_cModel sampleModel() {
    const std::vector<double> curve{1, 2.5, 4, 2, 1, 0, 0, 1e-3};
    pkmd_cModel model;
    const int line = model.AddPolynomial({20, -1.5}, 6, 2);
    model.AddPeak(pkmd_Gaussian, 6.4, 900, 0.06);
    model.AddPeak(pkmd_PseudoVoigt, 7, 300, 0.06, 0.25);
    model.AddCurve(darr_c1DArray{std::span(curve)}, 0.5);
    const int law = model.SetWidthLaw(0.07, 0.003, 6);
    model.AddPowerLaw(3, -2, 6);
    model.AddPeak(pkmd_TailedGaussian, 5, 50, 0.1, -0.2);
    model.AddExponential(4, -1, 5);
    model.AddPeak(pkmd_Voigt, 8, 70, 0.1, 0.05);
    model.AddPeak(pkmd_Lorentzian, 9, 60, 0.1);
    model.Fix(line + 1);
    model.Bound(model.Position(0), 6.3, 6.5);
    model.Tie(model.Height(1), model.Height(0), 0.3, 5);
    model.Bound(law, 0, std::numeric_limits<double>::infinity());
    model.SetStart(model.Width(3), -1);
    return model;
}

std::string figuresOf(const pkmd_cModel& model) {
    std::string figures;
    for (int i = 0; i < model.ParameterCount(); ++i) {
        const auto at = static_cast<std::size_t>(i);
        const nlsq_sParameter& kind = model.Kinds()[at];
        figures += bytesOf(model.Name(i), model.Starts()[at], kind.kind, kind.lower, kind.upper,
                           kind.to, kind.factor, kind.offset);
    }
    std::vector<double> x, y;
    for (double position = 4.5; position < 10; position += 0.25)
        x.push_back(position);
    y.resize(x.size());
    model.Values(model.Starts(), x, y);
    figures += bytesOf(y);
    for (const pkmd_cModel::sBackground& background : model.Backgrounds())
        figures += bytesOf(background.curve);
    return figures;
}

/// A background of two peaks, fitted; without deviations the first has too few points below it.
pwft_cMultiPowerLawFitFunc sampleBackground(Data& data, bool hasDeviations) {
    pwft_cMultiPowerLawFitFunc background(1, data.selection);
    background.AddPeak(7, 0, 5, 0, 2);
    background.AddPeak(3, hasDeviations ? -2 : 0, hasDeviations ? 3 : 1, 0, 1);
    if (hasDeviations)
        background.Refit(data.counts,
                         darr_c1DArray(std::vector<double>(8, 3.0), data.counts.Cal()));
    else
        background.Refit(data.counts);
    return background;
}

std::string figuresOf(const pwft_cMultiPowerLawFitFunc& background) {
    std::string figures = bytesOf(background.Order());
    for (int k = 0; k < background.PeakCount(); ++k) {
        const pwft_cPowerLawFittingFunction& law = background.PowerLaw(k);
        figures += bytesOf(law.Order(), law.Coefficients(), law.Covariance(), law.StandardErrors(),
                           law.Rank(), law.ResidualSum(), law.DegreesOfFreedom());
    }
    for (const double position : {3.0, 7.0})
        figures +=
            bytesOf(background.PeakIntensity(position), background.PeakIntensityError(position));
    return figures + bytesOf(background.Curve(cal_c1DArrayCal(2, 1, 0), 8));
}

/// A function, a fit of it, and the same once more, by way of a record.
template<class Function>
void checkFunction() {
    Data data;
    Function fitted(2, data.selection);
    fitted.SetName("fitted");
    fitted.Refit(data.counts);
    for (const rcrd_eForm form : forms) {
        Function loaded(1, data.selection);
        loaded.SetName("loaded");
        std::istringstream stream(saved(fitted, form));
        rcrd_Load(stream, loaded);
        EXPECT_EQ(loaded.Name(), "loaded");
        EXPECT_EQ(loaded.Order(), 2);
        EXPECT_EQ(bytesOf(loaded.Coefficients()), bytesOf(fitted.Coefficients()));
        EXPECT_EQ(bytesOf(loaded.Covariance()), bytesOf(fitted.Covariance()));
        EXPECT_EQ(bytesOf(loaded.StandardErrors()), bytesOf(fitted.StandardErrors()));
        EXPECT_EQ(bytesOf(loaded.Rank(), loaded.ResidualSum(), loaded.DegreesOfFreedom()),
                  bytesOf(fitted.Rank(), fitted.ResidualSum(), fitted.DegreesOfFreedom()));
        EXPECT_EQ(bytesOf(loaded.Curve(data.counts.Cal(), 8)),
                  bytesOf(fitted.Curve(data.counts.Cal(), 8)));
        if constexpr (requires { loaded.Offset(); }) {
            EXPECT_EQ(loaded.Offset(), fitted.Offset());
        }
        loaded.Refit(data.counts);
        EXPECT_EQ(bytesOf(loaded.Coefficients()), bytesOf(fitted.Coefficients()));

        const Function never(3, data.selection);
        std::istringstream unfitted(saved(never, form));
        rcrd_Load(unfitted, loaded);
        EXPECT_EQ(loaded.Order(), 3);
        EXPECT_EQ(loaded.Rank(), 0);
        EXPECT_EQ(loaded.Covariance().Size(), 0);
    }
}

} // namespace

TEST(FitRecord, ResultsComeBackBitForBit) {
    for (const rcrd_eForm form : forms) {
        nlsq_sResult fit;
        std::istringstream stream(saved(sampleResult(), form));
        rcrd_Load(stream, fit);
        EXPECT_EQ(figuresOf(fit), figuresOf(sampleResult()));
        pkmd_sResult peaks;
        std::istringstream peakStream(saved(samplePeaks(), form));
        rcrd_Load(peakStream, peaks);
        EXPECT_EQ(figuresOf(peaks), figuresOf(samplePeaks()));
        std::istringstream empty(saved(nlsq_sResult(), form));
        rcrd_Load(empty, fit);
        EXPECT_EQ(figuresOf(fit), figuresOf(nlsq_sResult()));
    }
}

TEST(FitRecord, AFitOfPeaksIsReportedTheSame) {
    Data data;
    pkmd_cModel model;
    model.AddExponential(90, -0.25, 2);
    model.AddPeak(pkmd_Gaussian, 5, 3, 1);
    const pkmd_sResult result = pkmd_Fit(model, data.counts);
    std::ostringstream before;
    before << result;
    for (const rcrd_eForm form : forms) {
        pkmd_sResult loaded;
        std::istringstream stream(saved(result, form));
        rcrd_Load(stream, loaded);
        std::ostringstream after;
        after << loaded;
        EXPECT_EQ(after.str(), before.str());
        model.SetStarts(loaded.fit.parameters);
    }
}

TEST(FitRecord, AFitWithoutAValueComesBack) {
    const nlsq_cFunctionModel model(
        [](double, std::span<const double> p) { return std::sqrt(p[0]); });
    const std::vector<double> x = {1, 2}, y = {1, 2};
    const nlsq_sResult fit = nlsq_Fit(model, x, y, std::vector{-1.0});
    ASSERT_EQ(fit.end, nlsq_NoValue);
    for (const rcrd_eForm form : forms) {
        nlsq_sResult loaded;
        std::istringstream stream(saved(fit, form));
        rcrd_Load(stream, loaded);
        EXPECT_EQ(figuresOf(loaded), figuresOf(fit));
    }
}

TEST(FitRecord, FunctionsComeBackWithTheirCurvesAndErrors) {
    checkFunction<plft_c1DPolyFittingFunction>();
    checkFunction<plft_c1DOffsetPolyFittingFunction>();
    checkFunction<pwft_cPowerLawFittingFunction>();
}

TEST(FitRecord, ModelsOfPeaksComeBack) {
    for (const rcrd_eForm form : forms)
        for (const pkmd_cModel& model : {sampleModel(), pkmd_cModel()}) {
            pkmd_cModel loaded;
            loaded.AddPeak(pkmd_Gaussian, 1, 1, 1);
            std::istringstream stream(saved(model, form));
            rcrd_Load(stream, loaded);
            EXPECT_EQ(figuresOf(loaded), figuresOf(model));
            EXPECT_EQ(saved(loaded, form), saved(model, form));
        }
    // What is loaded is fitted as what was saved.
    Data data;
    pkmd_cModel model, loaded;
    model.AddExponential(90, -0.25, 2);
    model.AddPeak(pkmd_Gaussian, 5, 3, 1);
    std::istringstream stream(saved(model, rcrd_Binary));
    rcrd_Load(stream, loaded);
    EXPECT_EQ(figuresOf(pkmd_Fit(loaded, data.counts)), figuresOf(pkmd_Fit(model, data.counts)));
}

TEST(FitRecord, BackgroundsOfManyPeaksComeBack) {
    for (const rcrd_eForm form : forms)
        for (const bool hasDeviations : {false, true}) {
            Data data;
            const pwft_cMultiPowerLawFitFunc fitted = sampleBackground(data, hasDeviations);
            ASSERT_EQ(fitted.PowerLaw(0).Rank(), hasDeviations ? 2 : 0);
            ASSERT_EQ(fitted.PowerLaw(1).Rank(), 2);
            pwft_cMultiPowerLawFitFunc loaded(3, data.selection);
            loaded.SetName("loaded");
            loaded.AddPeak(1, 2, 3, 4, 5);
            std::istringstream stream(saved(fitted, form));
            rcrd_Load(stream, loaded);
            EXPECT_EQ(loaded.Name(), "loaded");
            EXPECT_EQ(loaded.PeakCount(), 2);
            EXPECT_EQ(figuresOf(loaded), figuresOf(fitted));
            EXPECT_EQ(saved(loaded, form), saved(fitted, form));
            loaded.Refit(data.counts);
            pwft_cMultiPowerLawFitFunc again(fitted);
            again.Refit(data.counts);
            EXPECT_EQ(figuresOf(loaded), figuresOf(again));

            for (const int order : {2, -1}) {
                const pwft_cMultiPowerLawFitFunc never(order, data.selection);
                std::istringstream unfitted(saved(never, form));
                rcrd_Load(unfitted, loaded);
                EXPECT_EQ(loaded.Order(), order);
                EXPECT_EQ(loaded.PeakCount(), 0);
                EXPECT_EQ(loaded.PeakIntensity(7), 0);
            }
        }
}

TEST(FitRecord, PeaksAndResolutionsComeBack) {
    for (const rcrd_eForm form : forms) {
        gsft_cGaussian reference(1, 2, 3), peak(7, 8, 9);
        peak.SetRefGaussian(reference);
        std::istringstream stream(saved(gsft_cGaussian(100, 5900, 80), form));
        rcrd_Load(stream, peak);
        EXPECT_EQ(peak.Amplitude(), 100);
        EXPECT_EQ(peak.Center(), 5900);
        EXPECT_EQ(peak.Width(), 80);
        EXPECT_EQ(peak.hRefGaussian().Get(), &reference);
        gsft_cResolution law(1, 2);
        std::istringstream lawStream(saved(gsft_cResolution(5.9, 0.14, 0.0023), form));
        rcrd_Load(lawStream, law);
        EXPECT_EQ(law.ReferencePosition(), 5.9);
        EXPECT_EQ(law.ReferenceFWHM(), 0.14);
        EXPECT_EQ(law.Factor(), 0.0023);
    }
}

TEST(FitRecord, NumbersThatDoNotGoTogetherAreRefused) {
    const std::string fit = saved(sampleResult(), rcrd_Text);
    for (const auto& [what, by] : std::vector<std::pair<std::string, std::string>>{
             {"Parameters \"1.5 ", "Parameters \""},
             {"StandardErrors \"0.1 ", "StandardErrors \""},
             {"Covariance \"0.01 ", "Covariance \""},
             {"End 2", "End 9"},
             {"End 2", "End -1"},
             {"AtBound \"1\"", "AtBound \"3\""},
             {"AtBound \"1\"", "AtBound \"-1\""},
             {"Undetermined \"0 2\"", "Undetermined \"0 3\""},
             {"    Rank 1\n", ""}})
        EXPECT_EQ(refusalOfLoading(replaced(fit, what, by), nlsq_sResult()), damaged) << by;
    const std::string peaks = saved(samplePeaks(), rcrd_Text);
    for (const auto& [what, by] :
         std::vector<std::pair<std::string, std::string>>{{"    Name \"\"\n", ""},
                                                          {"Shapes \"0 3\"", "Shapes \"0 5\""},
                                                          {"Shapes \"0 3\"", "Shapes \"-1 3\""},
                                                          {"Shapes \"0 3\"", "Shapes \"0\""},
                                                          {"Peaks \"6.4 ", "Peaks \""}})
        EXPECT_EQ(refusalOfLoading(replaced(peaks, what, by), pkmd_sResult()), damaged) << by;
    Data data;
    plft_c1DPolyFittingFunction line(1, data.selection);
    line.Refit(data.counts);
    const std::string text = saved(line, rcrd_Text);
    for (const auto& [what, by] : std::vector<std::pair<std::string, std::string>>{
             {"Order 1", "Order 2"},
             {"Order 1", "Order -1"},
             {"Coefficients \"", "Coefficients \"1 "},
             {"Covariance \"", "Covariance \"1 "},
             {"StandardErrors \"", "StandardErrors \"1 "},
             {"Rank 2", "Rank 3"},
             {"Rank 2", "Rank -1"},
             {"Points 8", "Points 1"}})
        EXPECT_EQ(refusalOfLoading(replaced(text, what, by), line), damaged) << by;
    const std::string model = saved(sampleModel(), rcrd_Text);
    for (const auto& [what, by] : std::vector<std::pair<std::string, std::string>>{
             {"Parts \"5 ", "Parts \""},
             {"Parts \"5 ", "Parts \"-1 "},
             {"Parts \"5 ", "Parts \"10 "},
             {"Parts \"5 ", "Parts \"9 "},
             {"Parts \"5 ", "Parts \"7 "},
             {"Counts \"2 ", "Counts \"3 "},
             {"Counts \"2 ", "Counts \"0 "},
             {"Counts \"2 ", "Counts \"-2 "},
             {"Counts \"2 ", "Counts \"2000000000 "},
             {"Counts \"2 0 0 8 ", "Counts \"2 0 0 9 "},
             {"Counts \"2 0 0 8 ", "Counts \"2 0 0 7 "},
             {"References \"6 ", "References \"nan "},
             {"Scales \"2 ", "Scales \"0 "},
             {"Curves \"1 ", "Curves \"inf "},
             {"Starts \"20 ", "Starts \""},
             {"Starts \"20 ", "Starts \"nan "},
             {"Kinds \"0 1 ", "Kinds \"0 3 "},
             {"Kinds \"0 1 ", "Kinds \"0 -1 "},
             {"Kinds \"0 1 0 0 1 ", "Kinds \"0 1 0 0 0 "},
             {"Lower \"-inf ", "Lower \""},
             {"Upper \"inf ", "Upper \""},
             {"To \"0 ", "To \""},
             {"To \"0 0 0 0 0 0 3 ", "To \"0 0 0 0 0 0 99 "},
             {"To \"0 0 0 0 0 0 3 ", "To \"0 0 0 0 0 0 4 "},
             {"    Factors \"1 ", "    Factors \""},
             {"TieOffsets \"0 ", "TieOffsets \""}})
        EXPECT_EQ(refusalOfLoading(replaced(model, what, by), sampleModel()), damaged) << by;
    const pwft_cMultiPowerLawFitFunc background = sampleBackground(data, false);
    const std::string laws = saved(background, rcrd_Text);
    for (const auto& [what, by] : std::vector<std::pair<std::string, std::string>>{
             {"Order 1", "Order 2"},
             {"Order 1", "Order -1"},
             {"Order 1", "Order 2147483647"},
             {"Positions \"3 7\"", "Positions \"3\""},
             {"Positions \"3 7\"", "Positions \"7 3\""},
             {"Ranges \"2 ", "Ranges \""},
             {"Ranks \"0 2\"", "Ranks \"2 2\""},
             {"Ranks \"0 2\"", "Ranks \"0 3\""},
             {"Ranks \"0 2\"", "Ranks \"-1 2\""},
             {"Ranks \"0 2\"", "Ranks \"0 0\""},
             {"Points \"", "Points \"1 "},
             {"ResidualSums \"", "ResidualSums \"1 "},
             {"Coefficients \"", "Coefficients \"1 "},
             {"Covariance \"", "Covariance \"1 "},
             {"StandardErrors \"", "StandardErrors \"1 "}})
        EXPECT_EQ(refusalOfLoading(replaced(laws, what, by), background), damaged) << by;
    const pwft_cMultiPowerLawFitFunc weighted = sampleBackground(data, true);
    EXPECT_EQ(
        refusalOfLoading(replaced(saved(weighted, rcrd_Text), "Deviations \"3 ", "Deviations \""),
                         weighted),
        damaged);
    EXPECT_EQ(refusalOfLoading(replaced(text, "Version 1", "Version 2"), line),
              "rcrd:6: A later version of the library wrote the record.");
}

TEST(FitRecord, ARecordThatClaimsMuchTakesLittleMemory) {
    const auto list = [](int count, const std::string& element) {
        std::string text = "\"";
        for (int i = 0; i < count; ++i)
            text += (i == 0 ? "" : " ") + element;
        return text + "\"\n";
    };
    const auto record = [&](const std::string& parts, const std::string& counts, int many,
                            int parameters) {
        return "Record PeakModel {\n    Version 1\n    Parts " + parts + "    Counts " + counts +
               "    References " + list(many, "0") + "    Scales " + list(many, "1") +
               "    Curves \"\"\n    Starts " + list(parameters, "0") + "    Kinds " +
               list(parameters, "0") + "    Lower " + list(parameters, "-inf") + "    Upper " +
               list(parameters, "inf") + "    To " + list(parameters, "0") + "    Factors " +
               list(parameters, "1") + "    TieOffsets " + list(parameters, "0") + "}\n";
    };
    // As many polynomials as parameters, each of which claims all of them.
    constexpr int many = 1000;
    const std::string greedy = record(list(many, "5"), list(many, "1000"), many, many);
    const PeakOfNew peak;
    EXPECT_EQ(refusalOfLoading(greedy, pkmd_cModel()), damaged);
    EXPECT_LT(peak.Bytes(), 20 * greedy.size());
    EXPECT_EQ(refusalOfLoading(record(list(many, "5"), list(many, "1"), many, many), pkmd_cModel()),
              "none");
    // One that claims parameters where those before it left none.
    const std::string late = record("\"0 5\"\n", "\"0 2000000000\"\n", 2, 2);
    const LimitedNew limit(1000000);
    EXPECT_EQ(refusalOfLoading(late, pkmd_cModel()), damaged);
}

TEST(FitRecord, CutOffAnywhereIsRefused) {
    for (const rcrd_eForm form : forms) {
        Data data;
        const auto check = [&](const auto& value) {
            std::string whole = saved(value, form);
            if (form == rcrd_Text)
                whole.pop_back(); // the last newline may be missing
            for (std::size_t size = 0; size < whole.size(); ++size)
                EXPECT_TRUE(refusalOfLoading(whole.substr(0, size), value).starts_with("rcrd:"))
                    << size;
        };
        check(samplePeaks());
        check(sampleModel());
        check(sampleBackground(data, true));
    }
}

TEST(FitRecord, AreFieldsOfObjects) {
    std::stringstream lines, bytes;
    tgio_cASCII_ostream print(lines);
    ASSERT_TRUE(rcrd_Write(print, samplePeaks(), "Peaks"));
    tgio_cBinary_ostream out(bytes);
    ASSERT_TRUE(rcrd_Write(out, samplePeaks(), 300));
    pkmd_sResult text, binary;
    tgio_cASCII_istream parse(lines);
    EXPECT_TRUE(rcrd_Read(parse, text));
    tgio_cBinary_istream in(bytes);
    EXPECT_TRUE(rcrd_Read(in, binary));
    EXPECT_EQ(figuresOf(text), figuresOf(samplePeaks()));
    EXPECT_EQ(figuresOf(binary), figuresOf(samplePeaks()));
}

// The files were written by version 1 and are never written anew.
TEST(FitRecord, FilesOfVersion1AreReadForEver) {
    for (const rcrd_eForm form : forms) {
        const std::string name = form == rcrd_Text ? "version1.txt" : "version1.rec";
        std::ifstream file(recordFile(name), std::ios::binary);
        ASSERT_TRUE(file) << name;
        Data data;
        nlsq_sResult fit;
        pkmd_sResult peaks;
        plft_c1DPolyFittingFunction polynomial(0, data.selection);
        plft_c1DOffsetPolyFittingFunction offset(0, data.selection);
        pwft_cPowerLawFittingFunction powerLaw(0, data.selection);
        gsft_cGaussian peak(1, 1, 1);
        gsft_cResolution law(1, 1);
        rcrd_Load(file, fit);
        rcrd_Load(file, peaks);
        rcrd_Load(file, polynomial);
        rcrd_Load(file, offset);
        rcrd_Load(file, powerLaw);
        rcrd_Load(file, peak);
        rcrd_Load(file, law);
        EXPECT_EQ(file.peek(), std::ifstream::traits_type::eof());
        EXPECT_EQ(figuresOf(fit), figuresOf(sampleResult()));
        EXPECT_EQ(figuresOf(peaks), figuresOf(samplePeaks()));
        EXPECT_EQ(polynomial.Coefficients()[1], 0.5);
        EXPECT_EQ(polynomial.Covariance()(1, 1), 0.0625);
        EXPECT_EQ(polynomial.StandardErrors()[1], 0.25);
        EXPECT_EQ(polynomial.DegreesOfFreedom(), 6);
        EXPECT_EQ(offset.Offset(), 5.5);
        EXPECT_EQ(powerLaw.Coefficients()[1], -2);
        EXPECT_EQ(peak.Width(), 80.5);
        EXPECT_EQ(law.Factor(), 0.0023);
        EXPECT_TRUE(saved(fit, form) + saved(peaks, form) + saved(polynomial, form) +
                        saved(offset, form) + saved(powerLaw, form) + saved(peak, form) +
                        saved(law, form) ==
                    contentOf(name));
    }
}

// So were these, with kinds that version 1 has had since.
TEST(FitRecord, FilesOfModelsAreReadForEver) {
    for (const rcrd_eForm form : forms) {
        const std::string name = form == rcrd_Text ? "version1_models.txt" : "version1_models.rec";
        std::ifstream file(recordFile(name), std::ios::binary);
        ASSERT_TRUE(file) << name;
        Data data;
        pkmd_cModel model;
        pwft_cMultiPowerLawFitFunc background(0, data.selection);
        rcrd_Load(file, model);
        rcrd_Load(file, background);
        EXPECT_EQ(file.peek(), std::ifstream::traits_type::eof());
        EXPECT_EQ(figuresOf(model), figuresOf(sampleModel()));
        EXPECT_EQ(background.Order(), 1);
        EXPECT_EQ(background.PeakCount(), 2);
        EXPECT_EQ(background.PowerLaw(1).Covariance()(1, 1), 0.0625);
        EXPECT_EQ(background.PowerLaw(1).DegreesOfFreedom(), 3);
        EXPECT_EQ(background.Coefficients(1)[1], -2);
        EXPECT_TRUE(saved(model, form) + saved(background, form) == contentOf(name));
    }
}
