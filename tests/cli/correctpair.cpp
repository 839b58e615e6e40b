#include "cli/correctpair.h"

#include <algorithm>
#include <cmath>
#include <filesystem>

#include "nifti/image.h"

namespace mirel {

std::unique_ptr<TemporaryFolder> CorrectPair::inputs;

void CorrectPair::SetUpTestSuite() {
  inputs = std::make_unique<TemporaryFolder>();
  const ProgramResult result =
      runMirel({"phantom", inputs->file(""), "--size", "40", "48", "28", "--voxel", "4.5",
                "--readout", "0.04", "--max-shift", "3", "--volumes", "3"});
  ASSERT_EQ(result.status, 0) << result.err;
}

void CorrectPair::TearDownTestSuite() { inputs.reset(); }

std::vector<std::string> CorrectPair::namesInOut() const {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(out()))
    names.push_back(entry.path().filename().string());
  std::sort(names.begin(), names.end());
  return names;
}

ProgramResult CorrectPair::correct(const std::vector<std::string>& options,
                                   const std::string& outputFolder) const {
  std::vector<std::string> words = {"correct", ap(), pa()};
  words.insert(words.end(), options.begin(), options.end());
  words.insert(words.end(), {"-o", file(outputFolder)});
  return runMirel(words);
}

Volume<float> CorrectPair::imageIn(const std::string& fileName) {
  return nifti::Reader(fileName).readVolume(0);
}

namespace {

struct Moments {
  double n = 0, a = 0, b = 0, aa = 0, bb = 0, ab = 0, difference = 0;
};

Moments momentsIn(const Volume<float>& mask, const Volume<float>& a, const Volume<float>& b) {
  Moments sums;
  for (int i = 0; i < mask.size(); ++i) {
    if (mask.data()[i] == 0.0f) continue;
    const double p = static_cast<double>(a.data()[i]), q = static_cast<double>(b.data()[i]);
    sums.n += 1;
    sums.a += p;
    sums.b += q;
    sums.aa += p * p;
    sums.bb += q * q;
    sums.ab += p * q;
    sums.difference += (p - q) * (p - q);
  }
  return sums;
}

}  // namespace

double CorrectPair::correlationInBrain(const Volume<float>& a, const Volume<float>& b) {
  const Moments m = momentsIn(imageIn(input("sub-phantom_desc-brain_mask.nii.gz")), a, b);
  return (m.n * m.ab - m.a * m.b) / std::sqrt((m.n * m.aa - m.a * m.a) * (m.n * m.bb - m.b * m.b));
}

double CorrectPair::rmsInBrain(const Volume<float>& a, const Volume<float>& b) {
  const Moments m = momentsIn(imageIn(input("sub-phantom_desc-brain_mask.nii.gz")), a, b);
  return std::sqrt(m.difference / m.n);
}

void CorrectPair::writeJoined(const std::string& fileName) {
  nifti::Reader first(ap());
  nifti::Header header = first.header();
  header.volumes = 2;
  nifti::Writer writer(fileName, header);
  writer.write(first.readVolume(0));
  writer.write(imageIn(pa()));
  writer.finish();
}

}  // namespace mirel
