#include "files/mydmr.h"

#include <utility>

#include "files/filenames.h"
#include "files/ioerror.h"

namespace mirel {

DMR::DMR(std::string name, bool loadData) : ProjectHeader(std::move(name)) {
  readHeader();
  if (loadData)
    LoadDWI();
  else
    checkSizes();
}

void DMR::readHeader() {
  std::ifstream is = openHeader();
  std::string token;
  // The stream is tested before a token is read, not after: at the end of the file the last token
  // is still in hand and is matched once more.
  while (is.good()) {
    is >> token;
    readMainLine(is, token);
    if (token == "DisplayVolume:") DisplayVolume.readLine(is, token);
    readPositionBlock(is, token);
    readTrailerLine(is, token);
    readGradientLine(is, token);
  }
  checkRead(is, fileName);
}

void DMR::readGradientLine(std::istream& is, const std::string& token) {
  if (token == "GradientDirectionsVerified:") readYesNo(GradientDirectionsVerified, is, token);
  if (token == "GradientXDirInterpretation:") GradientXDirInterpretation.readLine(is, token);
  if (token == "GradientYDirInterpretation:") GradientYDirInterpretation.readLine(is, token);
  if (token == "GradientZDirInterpretation:") GradientZDirInterpretation.readLine(is, token);
  if (token != "GradientInformationAvailable:") return;
  readYesNo(GradientInformationAvailable, is, token);
  if (GradientInformationAvailable) readGradientTable(is);
  std::string discarded;
  is >> discarded;
}

void DMR::readGradientTable(std::istream& is) {
  for (int i = 0; i < NrOfVolumes.value(); ++i) {
    glm::vec3 direction(0.0F);
    float weight = 0.0F;
    is >> direction.x >> direction.y >> direction.z >> weight;
    gradientDirections.push_back(direction);
    gradientWeights.push_back(weight);
    if (!is) return;
  }
}

void DMR::LoadDWI() {
  const std::string name = dataFileName(".dwi");
  std::ifstream is = openData(name, "Failed opening for reading: ");
  allocate(dwiData, name);
  if (DataStorageFormat.value() != 3) {
    for (Volume<float>& volume : dwiData) volume.setAll(0.0F);
    throw ReadFileError("Can only read DataStorageFormat 3, Not " +
                        std::to_string(DataStorageFormat.value()));
  }
  const SampleFormat format = sampleFormat();
  for (Volume<float>& volume : dwiData)
    readSamples(is, format, volume.data(), std::size_t(volume.size()));
  checkRead(is, name);
}

void DMR::PrintTo(std::ostream& os) const {
  os << "\n";
  printMainBeginning(os);
  DisplayVolume.printLineIfAllSet(os, 1);
  printMainEnd(os);
  printPositionBlock(os);
  printTrailer(os);
  printYesNoIfAllSet(GradientDirectionsVerified, os, 1);
  GradientXDirInterpretation.printLineIfAllSet(os, 1);
  GradientYDirInterpretation.printLineIfAllSet(os, 1);
  GradientZDirInterpretation.printLineIfAllSet(os, 1);
  printYesNoIfAllSet(GradientInformationAvailable, os, 1);
  if (GradientInformationAvailable.isSet() && GradientInformationAvailable.value())
    printGradientTable(os);
}

void DMR::printGradientTable(std::ostream& os) const {
  for (std::size_t i = 0; i < gradientDirections.size(); ++i) {
    const glm::vec3& direction = gradientDirections[i];
    const float weight = i < gradientWeights.size() ? gradientWeights[i] : 0.0F;
    os << static_cast<double>(direction.x) << " " << static_cast<double>(direction.y) << " "
       << static_cast<double>(direction.z) << " " << static_cast<double>(weight) << "\n";
  }
}

void DMR::Save() {
  if (!dwiData.empty()) {
    checkVolumes(dwiData);
    NrOfVolumes.updateValue(static_cast<int>(dwiData.size()));
  }
  writeHeader([this](std::ostream& os) { PrintTo(os); });
  if (dwiData.empty()) return;
  writeData(dataFileName(".dwi"), "Failed opening for writing: ", [this](std::ostream& os) {
    SampleWriter samples(os, sampleFormat());
    for (const Volume<float>& volume : dwiData)
      samples.write(volume.data(), std::size_t(volume.size()));
    samples.finish();
  });
}

void DMR::SaveAs(std::string newFileName) {
  if (dwiData.empty()) LoadDWI();
  fileName = std::move(newFileName);
  Prefix.updateValue(removeExtension(getFileName(fileName)));
  Save();
}

}  // namespace mirel
