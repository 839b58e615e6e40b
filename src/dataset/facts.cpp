#include "dataset/facts.h"

#include <algorithm>
#include <filesystem>
#include <string_view>

#include "base/error.h"
#include "base/isoneof.h"
#include "bids/doubts.h"
#include "bids/sidecar.h"
#include "dataset/scantime.h"
#include "nifti/gradients.h"
#include "nifti/image.h"

namespace mirel::dataset {

namespace fs = std::filesystem;

namespace {

void readHeader(const std::string& file, ImageFacts& facts) {
  const nifti::Header header = nifti::Reader(file).header();
  facts.grid = gridOf(header);
  facts.volumes = header.volumes;
  const std::string bValues = nifti::gradientFileOf(file, ".bval");
  if (bValues.empty()) return;
  const std::vector<float> values = nifti::readBValues(bValues, header.volumes);
  const auto isUnweighted = [](float b) { return b <= nifti::greatestUnweighted; };
  facts.unweightedVolumes = std::count_if(values.begin(), values.end(), isUnweighted);
  const auto first = std::find_if(values.begin(), values.end(), isUnweighted);
  facts.unweightedVolume = first == values.end() ? -1 : static_cast<int>(first - values.begin());
}

void readSidecars(const Index& index, ImageFacts& facts) {
  const std::vector<std::string> files = index.sidecarsOf(facts.image);
  if (files.empty()) return;
  const bids::Sidecar sidecar(files);
  facts.notes = bids::notesOnPassedOver(index.fileOf(facts.image.path), sidecar,
                                        index.sidecarsPassedOver(facts.image));
  facts.identifiers = sidecar.texts("B0FieldIdentifier");
  facts.fieldSources = sidecar.texts("B0FieldSource");
  facts.intendedFor = sidecar.texts("IntendedFor");
  facts.shim = sidecar.json().numbersOf("ShimSetting");
  for (const char* field : {"AcquisitionTime", "AcquisitionDateTime"})
    if (const auto texts = sidecar.texts(field); !texts.empty() && !facts.acquiredSeconds)
      facts.acquiredSeconds = secondsOfDay(texts.front());
  facts.direction = sidecar.phaseEncoding();
  if (!facts.direction) return;
  const bool needsLines = !sidecar.json().contains("TotalReadoutTime");
  if (!facts.grid && needsLines) return;
  const auto readout = sidecar.readout(facts.grid ? facts.grid->dims[facts.direction->axis] : 2);
  if (readout) facts.readoutSeconds = readout->seconds;
}

}  // namespace

std::string ImageFacts::fileName() const { return fs::path(image.path).filename().string(); }

bool isEpiSuffix(const std::string& suffix) {
  return isOneOf(suffix, {"bold", "sbref", "dwi", "asl", "m0scan", "epi"});
}

bool isEpi(const IndexedImage& image) {
  return isEpiSuffix(image.suffix()) && isOneOf(image.datatype, {"func", "dwi", "perf", "fmap"});
}

bool isOtherField(const IndexedImage& image) {
  return image.datatype == "fmap" &&
         isOneOf(image.suffix(), {"phasediff", "phase1", "phase2", "fieldmap"});
}

bool isPartOfComplex(const IndexedImage& image) {
  return isOneOf(image.entity("part"), {"phase", "real", "imag"});
}

ImageFacts factsOf(const Index& index, const IndexedImage& image, Headers headers) {
  ImageFacts facts;
  facts.image = image;
  const std::string file = index.fileOf(image.path);
  if (!image.fault.empty()) facts.fault = file + " " + image.fault;
  try {
    if (facts.fault.empty() && headers == Headers::read) readHeader(file, facts);
  } catch (const Error& error) {
    facts.fault = error.what();
  }
  try {
    readSidecars(index, facts);
  } catch (const Error& error) {
    if (facts.fault.empty()) facts.fault = error.what();
  }
  if (!facts.acquiredSeconds) facts.acquiredSeconds = timeOfScan(index, image);
  return facts;
}

}  // namespace mirel::dataset
