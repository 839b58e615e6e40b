#include "report/htmlreport.h"

#include <cmath>
#include <filesystem>
#include <optional>

#include "base/error.h"
#include "base/numbertext.h"
#include "field/grid.h"
#include "jobs/recordjson.h"
#include "jobs/reportfile.h"
#include "nifti/orientation.h"
#include "picture/headmask.h"
#include "report/assets.h"
#include "report/encode.h"
#include "report/fieldpart.h"
#include "report/methodstext.h"
#include "report/mustache.h"
#include "report/provenance.h"
#include "report/verdictpart.h"
#include "report/viewerpart.h"
#include "report/views.h"

namespace mirel::report {

namespace {

std::string shortName(const std::string& file) {
  return std::filesystem::path(file).filename().string();
}

// In front of the field in Hz that displaces by one voxel.
std::optional<double> hzPerVoxel(const std::optional<double>& readoutSeconds, int sign) {
  if (!readoutSeconds) return std::nullopt;
  return sign / *readoutSeconds;
}

std::optional<double> hzPerVoxelOf(const SeriesRecord& series) {
  const bids::StatedDirection& direction = *series.acquisition.direction;
  const auto& readout = series.acquisition.readout;
  if (direction.source == bids::StatedDirection::Source::map || !readout) return std::nullopt;
  return hzPerVoxel(readout->seconds, direction.value.sign);
}

std::string noteOf(const std::string& image, const std::optional<double>& hz) {
  return std::string(hz ? "Colours show the off-resonance field in Hz"
                        : "Colours show the displacement in voxels") +
         "; mm and voxels are the displacement of " + image +
         ", towards greater indices where they are positive. Nothing was measured where the colour "
         "is faded: there is no signal. A dashed white line runs around places where the density "
         "of the signal changes by more than half.";
}

std::string noteOf(const Anatomy& anatomy, double overlap) {
  constexpr double little = 0.7;
  return "The thin blue line is the head in " + shortName(anatomy.file) +
         ", where the scanner's coordinates of both files put it: motion between the scans is not "
         "undone. Dice's overlap of the two heads is " +
         text("%.2f", overlap) +
         (overlap < little
              ? ", which is little: it may be of another head, or not be where it says."
              : ".");
}

// The parts of a page that are made from images of one grid.
struct Grids {
  const nifti::Header& header;
  Volume<float> measured, head, stretch;
  double voxelMm;

  Grids(const nifti::Header& of, const Volume<float>& mean, const Volume<float>& shift, int axis)
      : header(of),
        measured(picture::signalMask(mean)),
        head(picture::headMaskAround(measured)),
        stretch(stretchAlong(shift, axis)),
        voxelMm(nifti::columnLengths(of.affine())[axis]) {}
};

BeforeAfter inWindowOfAfter(const Volume<float>& before, const Volume<float>& after) {
  return {before, after, picture::robustWindow(after)};
}

void addPair(ViewerPart& viewer, const BeforeAfter& a, const BeforeAfter& b, const PairInput& pair,
             const ShownField& field, const ColouredField& coloured) {
  viewer.addImage({"First", a.before, a.window});
  viewer.addImage({"Second", b.before, b.window});
  viewer.addWithMean({"First, corrected", a.after, a.window},
                     {"Second, corrected", b.after, b.window}, "Mean, corrected", field.window);
  const auto told = [](const InputImage& image) {
    return shortName(image.title()) + " (" + nameOf(image.direction()) + ")";
  };
  viewer.setField(field, coloured,
                  "First is " + told(pair.a) + ", second " + told(pair.b) +
                      ". Displacements are those of the first.");
}

}  // namespace

struct HtmlReport::Content {
  ReportFacts facts;
  Json cards = Json::array(), overlays = Json::array(), fields = Json::array(),
       contours = Json::array(), seriesInputs = Json::array();
  std::optional<MeasuredMap> map;
  std::optional<ViewerPart> viewer;
  int grids = 0;
  Json anatomyNote;
  std::string thumbnail;  ///< of the first mean that is shown

  Views viewsOf(const std::string& name, const Grids& grid, const Volume<float>& shift) {
    Views views(name, gridOf(grid.header), hasOrientation(grid.header), grid.head, shift,
                "outline-" + std::to_string(++grids) + "-");
    if (facts.anatomy) addAnatomy(grid, views);
    const Json outlines = views.contours();
    for (const Json& outline : outlines.list()) contours.push_back(outline);
    return views;
  }

  void addAnatomy(const Grids& grid, Views& views) {
    const Volume<float> head = headOn(gridOf(grid.header), *facts.anatomy);
    views.addAnatomy(head);
    if (anatomyNote.is_null()) anatomyNote = noteOf(*facts.anatomy, overlapOf(head, grid.head));
  }

  // Of the first images that are shown; null where there is none of these.
  ViewerPart* viewerOf(const Grids& grid, const Views& views) {
    const Grid where = gridOf(grid.header);
    if (viewer || !facts.viewer || viewerLibrary().empty() || !ViewerPart::shows(where))
      return nullptr;
    return &viewer.emplace(where, hasOrientation(grid.header), views.meeting());
  }

  void addField(const Views& views, const ShownField& field, const ColouredField& coloured) {
    fields.push_back(fieldPart(views, field, coloured));
    if (!map)
      map = MeasuredMap{displacementIn(field.measured, field.shift, field.stretch), field.voxelMm,
                        field.hzPerVoxel};
  }
};

HtmlReport::HtmlReport(ReportFacts facts) : content(std::make_unique<Content>()) {
  content->facts = std::move(facts);
}

HtmlReport::~HtmlReport() = default;

std::vector<Remark> HtmlReport::check(const std::string& image, const nifti::Header& header) {
  if (!content->facts.anatomy) return {};
  const Anatomy& anatomy = *content->facts.anatomy;
  if (!hasOrientation(header))
    throw Error(anatomy.file, "cannot be drawn on " + image + ", which does not say where it lies");
  return doubtsAbout(anatomy, gridOf(header), image);
}

void HtmlReport::showPair(const PairInput& pair, const PairEstimate& estimate) {
  const Grids grid(pair.a.header, estimate.meanToCompare(), estimate.shift, pair.axis());
  const Views views = content->viewsOf(pair.a.options.file, grid, estimate.shift);
  const BeforeAfter a = inWindowOfAfter(pair.a.image, estimate.correctedA),
                    b = inWindowOfAfter(pair.b.image, estimate.correctedB);
  content->cards.push_back(views.beforeAndAfter(shortName(pair.a.title()), a));
  content->cards.push_back(views.beforeAndAfter(shortName(pair.b.title()), b));
  Volume<float> meanBefore = pair.a.image + pair.b.image;
  meanBefore *= 0.5F;
  const BeforeAfter mean = inWindowOfAfter(meanBefore, estimate.mean);
  content->cards.push_back(views.beforeAndAfter("Mean of the pair", mean));
  content->thumbnail = views.thumbnail(mean.after, mean.window);
  content->overlays.push_back(views.redAndCyan(
      nameOf(pair.a.direction()) + " in red, " + nameOf(pair.b.direction()) + " in cyan", a, b));
  const auto hz = hzPerVoxel(pair.readoutSeconds, pair.a.direction().sign);
  const ShownField field{"From the pair", noteOf(shortName(pair.a.title()), hz),
                         estimate.mean,   mean.window,
                         estimate.shift,  grid.stretch,
                         grid.measured,   grid.header.affine(),
                         grid.voxelMm,    hz};
  const ColouredField coloured = colouredField(field);
  content->addField(views, field, coloured);
  if (ViewerPart* viewer = content->viewerOf(grid, views))
    addPair(*viewer, a, b, pair, field, coloured);
}

void HtmlReport::showSeries(const SeriesImages& series) {
  const std::string name = shortName(series.record.file);
  const int axis = series.record.acquisition.direction->value.axis;
  const Grids grid(series.header, series.meanAfter, series.shift, axis);
  const Views views = content->viewsOf(series.record.file, grid, series.shift);
  const BeforeAfter mean = inWindowOfAfter(series.meanBefore, series.meanAfter);
  const int volumes = series.record.volumes;
  content->cards.push_back(views.beforeAndAfter(
      volumes == 1 ? name : name + ", mean of " + std::to_string(volumes) + " volumes", mean));
  if (content->thumbnail.empty()) content->thumbnail = views.thumbnail(mean.after, mean.window);
  // With a pair its own map is what was measured; without, each series shows what was applied.
  if (!content->map || content->overlays.list().empty()) {
    const auto hz = hzPerVoxelOf(series.record);
    const ShownField field{
        "Applied to " + name, noteOf(name, hz), series.meanAfter,     mean.window,  series.shift,
        grid.stretch,         grid.measured,    grid.header.affine(), grid.voxelMm, hz};
    const ColouredField coloured = colouredField(field);
    content->addField(views, field, coloured);
    if (ViewerPart* viewer = content->viewerOf(grid, views)) {
      viewer->addImage({"As it came", mean.before, mean.window});
      viewer->addImage({"Corrected", mean.after, mean.window});
      viewer->setField(field, coloured, "The mean of " + name + ".");
    }
  }
  content->seriesInputs.push_back(inputPart("Series", series.origin.at("Series")));
}

namespace {

std::string titleOf(const RunRecord& run) {
  if (run.pair)
    return shortName(run.pair->a.options.file) + " and " + shortName(run.pair->b.options.file);
  std::string title;
  for (const SeriesRecord& series : run.series)
    title += (title.empty() ? "" : ", ") + shortName(series.file);
  return title;
}

Json inputsOf(const Json& origin, const Json& series, const std::optional<Anatomy>& anatomy) {
  Json inputs = Json::array();
  if (const Json* pair = origin.find("Inputs")) {
    inputs.push_back(inputPart("First image", pair->at(0)));
    inputs.push_back(inputPart("Second image", pair->at(1)));
  }
  for (const char* source : {"Field", "Map"})
    if (const Json* given = origin.find(source)) inputs.push_back(inputPart(source, *given));
  for (const Json& one : series.list()) inputs.push_back(one);
  if (anatomy)
    inputs.push_back(inputPart("Outline of this page alone",
                               Json{{"File", anatomy->file}, {"SHA256", anatomy->checksum}}));
  return inputs;
}

// What is long stands in the page as it is. No text of a template's data holds the mark.
void addBlocks(const ViewerPart& viewer, std::string& page) {
  constexpr std::string_view mark = "<!--viewer-->";
  const std::string library = "<!--\n" + viewerLicence() +
                              "-->\n<script type=\"text/plain\" id=\"viewer-library\">" +
                              base64(viewerLibrary()) + "</script>\n";
  page.replace(page.find(mark), mark.size(), viewer.blocks() + library);
}

void setList(Json& page, const std::string& name, const std::string& flag, const Json& list) {
  page[flag] = !list.list().empty();
  page[name] = list;
}

}  // namespace

std::string HtmlReport::text(const RunRecord& run, const std::vector<std::string>& outputs,
                             const std::string& key) {
  const Content& made = *content;
  const Json origin = originOf(run);
  const MethodsText methods = methodsText(run, made.map);
  Json page = {{"keyName", reportKeyName},
               {"key", key},
               {"title", titleOf(run)},
               {"icon", made.thumbnail},
               {"version", run.version},
               {"verdict", verdictPart(run)},
               {"anatomyNote", made.anatomyNote},
               {"overlayNote", "One image of the pair in red over the other in cyan."},
               {"command", made.facts.command},
               {"inputs", inputsOf(origin, made.seriesInputs, made.facts.anatomy)},
               {"outputs", Json(outputs)},
               {"methods", methods.paragraph},
               {"references", Json(methods.references)},
               {"contours", made.contours},
               {"cards", made.cards}};
  setList(page, "figures", "hasFigures", figuresPart(run, made.map));
  setList(page, "overlays", "hasOverlays", made.overlays);
  setList(page, "fields", "hasFields", made.fields);
  Json options = optionsPart(origin.contains("Options") ? origin.at("Options") : Json());
  if (!run.series.empty())
    options.push_back(Json{{"what", "Series as 32-bit floats"},
                           {"value", run.seriesSettings.floatOutput ? "yes" : "no"}});
  page["options"] = options;
  const auto sentences = [&](const std::vector<Remark>& remarks) {
    Json texts = Json::array();
    for (const Remark& remark : remarks) texts.push_back(made.facts.sentence(remark));
    return texts;
  };
  setList(page, "warnings", "hasWarnings", sentences(run.warnings));
  setList(page, "notes", "hasNotes", sentences(run.notes));
  Json rows = Json::array();
  for (const auto& [what, value] : made.facts.thisRun())
    rows.push_back(Json{{"what", what}, {"value", value}});
  page["thisRun"] = rows;
  if (made.viewer) {
    page["viewer"] = made.viewer->part();
    page["viewerScript"] = viewerScript();
    page["viewerHash"] = policyHash(viewerScript());
    page["libraryHash"] = viewerLibraryHash();
  }
  page["style"] = styleSheet();
  page["script"] = scriptText();
  page["styleHash"] = policyHash(styleSheet());
  page["scriptHash"] = policyHash(scriptText());
  std::string text = filled(pageTemplate(), page);
  if (made.viewer) addBlocks(*made.viewer, text);
  return text;
}

}  // namespace mirel::report
