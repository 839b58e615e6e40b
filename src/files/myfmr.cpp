#include "files/myfmr.h"

#include <utility>

#include "files/filenames.h"
#include "files/ioerror.h"

namespace mirel {

FMR::FMR(std::string name, bool loadData) : ProjectHeader(std::move(name)) {
  readHeader();
  if (loadData)
    LoadSTC();
  else
    checkSizes();
}

void FMR::readHeader() {
  std::ifstream is = openHeader();
  std::string token;
  // The stream is tested before a token is read, not after: at the end of the file the last token
  // is still in hand and is matched once more.
  while (is.good()) {
    is >> token;
    readMainLine(is, token);
    if (token == "NrOfLinkedProtocols:") NrOfLinkedProtocols.readLine(is, token);
    readPositionBlock(is, token);
    readTrailerLine(is, token);
    if (token == "MultibandSequence:") MultibandSequence.readLine(is, token);
    if (token == "SliceTimingTableSize:") {
      SliceTimingTableSize.readLine(is, token);
      readSliceTimingTable(is);
    }
  }
  checkRead(is, fileName);
}

void FMR::readSliceTimingTable(std::istream& is) {
  const int size = SliceTimingTableSize;
  if (size > 0 && static_cast<std::uintmax_t>(size) > headerBytes())
    throw ReadFileError("Impossible SliceTimingTableSize " + std::to_string(size) + " in " +
                        fileName + ", a file of " + std::to_string(headerBytes()) + " bytes");
  for (int i = 0; i < size; ++i) {
    float time = 0.0F;
    is >> time;
    sliceTimingTable.push_back(time);
  }
  std::string discarded;
  is >> discarded;
}

std::size_t FMR::storedSlices() const {
  const bool none = ResolutionX == 0 || ResolutionY == 0 || stcData.empty();
  return none ? 0 : std::size_t(NrOfSlices.value());
}

void FMR::LoadSTC() {
  const std::string name = dataFileName(".stc");
  std::ifstream is = openData(name, "Failed opening STC for reading: ");
  allocate(stcData, name);
  const SampleFormat format = sampleFormat();
  const std::size_t sliceSize = std::size_t(ResolutionX.value()) * std::size_t(ResolutionY.value());
  for (std::size_t z = 0; z < storedSlices(); ++z)
    for (Volume<float>& volume : stcData)
      readSamples(is, format, volume.data() + z * sliceSize, sliceSize);
  checkRead(is, name);
}

void FMR::PrintTo(std::ostream& os) const {
  os << "\n";
  printMainBeginning(os);
  NrOfLinkedProtocols.printLineIfAllSet(os, 1);
  printMainEnd(os);
  printPositionBlock(os);
  printTrailer(os);
  MultibandSequence.printLineIfAllSet(os, 2);
  SliceTimingTableSize.printLineIfAllSet(os, 1);
  if (SliceTimingTableSize.isSet() && SliceTimingTableSize.value() > 0)
    for (const float time : sliceTimingTable) os << static_cast<double>(time) << "\n";
}

void FMR::Save() {
  if (!stcData.empty()) {
    checkVolumes(stcData);
    NrOfVolumes.updateValue(static_cast<int>(stcData.size()));
  }
  writeHeader([this](std::ostream& os) { PrintTo(os); });
  if (stcData.empty()) return;
  writeData(dataFileName(".stc"), "Failed opening STC for writing: ", [this](std::ostream& os) {
    SampleWriter samples(os, sampleFormat());
    const auto sliceSize = std::size_t(ResolutionX.value()) * std::size_t(ResolutionY.value());
    for (std::size_t z = 0; z < storedSlices(); ++z)
      for (const Volume<float>& volume : stcData)
        samples.write(volume.data() + z * sliceSize, sliceSize);
    samples.finish();
  });
}

void FMR::SaveAs(std::string newFileName) {
  if (stcData.empty()) LoadSTC();
  fileName = std::move(newFileName);
  Prefix.updateValue(removeExtension(getFileName(fileName)));
  Save();
}

}  // namespace mirel
