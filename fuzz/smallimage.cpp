#include "fuzz/smallimage.h"

#include <cmath>
#include <filesystem>
#include <glm/geometric.hpp>

#include "nifti/image.h"
#include "nifti/samples.h"

namespace mirel::fuzz {

namespace {

constexpr nifti::DataType types[] = {nifti::DataType::int16,   nifti::DataType::float32,
                                     nifti::DataType::uint8,   nifti::DataType::int8,
                                     nifti::DataType::uint16,  nifti::DataType::int32,
                                     nifti::DataType::float64, nifti::DataType::int64};

Volume<float> head(const glm::ivec3& dims) {
  Volume<float> volume(dims);
  const glm::vec3 middle = (glm::vec3(dims) - 1.0f) / 2.0f;
  for (int z = 0; z < dims.z; ++z)
    for (int y = 0; y < dims.y; ++y)
      for (int x = 0; x < dims.x; ++x) {
        const float r = glm::length((glm::vec3(x, y, z) - middle) / (middle + 0.5f));
        volume.at(x, y, z) = r < 0.9f ? 100.0f - 40.0f * r + static_cast<float>((x + y) % 3) : 1.0f;
      }
  return volume;
}

nifti::Header usualHeader(const glm::ivec3& dims) {
  nifti::Header header;
  header.dims = dims;
  header.setAffine(glm::dmat4(3.0, 0, 0, 0, 0, 3.0, 0, 0, 0, 0, 3.0, 0, -12, -12, -12, 1), 1);
  header.repetitionTimeSeconds = 2;
  return header;
}

/// Up to `most` runs of 8 bytes, each somewhere in `bytes`.
void change(Input& input, int most, std::string& bytes) {
  for (int count = input.upTo(most); count > 0; --count) {
    const std::size_t at = input.take<std::uint16_t>() % bytes.size();
    const std::string_view patch = input.takeBytes(static_cast<std::size_t>(1 + input.upTo(7)));
    bytes.replace(at, std::min(patch.size(), bytes.size() - at),
                  patch.substr(0, bytes.size() - at));
  }
}

}  // namespace

std::string chosenImage(Input& input, const glm::ivec3& dims) {
  nifti::Header header = usualHeader(dims);
  header.type = types[input.upTo(std::size(types) - 1)];
  header.volumes = 1 + input.upTo(2);
  const std::vector<unsigned char> front = nifti::formatHeader(header, "chosen");
  std::string bytes(front.begin(), front.end());
  change(input, 8, bytes);
  const Volume<float> volume = head(dims);
  std::vector<unsigned char> samples(static_cast<std::size_t>(volume.size()) *
                                     static_cast<std::size_t>(nifti::bytesPerSample(header.type)));
  nifti::encodeSamples(header, volume.data(), static_cast<std::size_t>(volume.size()),
                       samples.data());
  std::string data;
  for (int t = 0; t < header.volumes; ++t) data.append(samples.begin(), samples.end());
  change(input, 64, data);
  return bytes + data;
}

glm::ivec3 chosenDims(Input& input) {
  const int x = 4 + input.upTo(8), y = 4 + input.upTo(8), z = 4 + input.upTo(8);
  return {x, y, z};
}

std::string chosenText(Input& input, const std::string& usual) {
  const std::string_view text = input.takeBytes(input.take<std::uint8_t>());
  return text.empty() ? usual : std::string(text);
}

void requireFiniteImages(const std::string& folder) {
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    const std::string name = entry.path().string();
    if (!name.ends_with(".nii") && !name.ends_with(".nii.gz")) continue;
    nifti::Reader image(name, nifti::Contents::vectorsToo);
    Volume<float> volume;
    for (int t = 0; t < image.storedVolumes(); ++t) {
      image.readVolume(t, volume);
      for (int i = 0; i < volume.size(); ++i)
        require(std::isfinite(volume.data()[i]), "a result that is not finite");
    }
  }
}

}  // namespace mirel::fuzz
