#pragma once

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "cli/correctpair.h"
#include "nifti/image.h"

namespace mirel {

/// The simulated pair with its true field and map, which tests write anew as other programs would:
/// in other units, with other sidecars, or none.
class FieldFiles : public CorrectPair {
 protected:
  static std::string truth(const std::string& what) { return input("sub-phantom_desc-" + what); }
  static std::string field() { return truth("truth_fieldmap.nii.gz"); }
  static std::string map() { return truth("truth_displacement.nii.gz"); }

  void sidecar(const std::string& name, const nlohmann::json& content) const {
    std::ofstream(file(name)) << content.dump();
  }

  /// Voxel by voxel another image in the test's own folder; its name.
  std::string changed(const std::string& source, const std::string& name,
                      const std::function<float(float)>& value,
                      const std::function<void(nifti::Header&)>& change = {}) const {
    nifti::Reader reader(source);
    nifti::Header header = reader.header();
    if (change) change(header);
    nifti::Writer writer(file(name), header);
    for (int t = 0; t < header.volumes; ++t) {
      Volume<float> volume = reader.readVolume(t);
      for (int n = 0; n < volume.size(); ++n) volume.data()[n] = value(volume.data()[n]);
      writer.write(volume);
    }
    writer.finish();
    return file(name);
  }
  std::string scaled(const std::string& source, const std::string& name, double factor) const {
    return changed(source, name, [factor](float v) {
      return static_cast<float>(factor * static_cast<double>(v));
    });
  }

  /// An image of the pair under another name, without its sidecar.
  std::string bare(const std::string& image, const std::string& name) const {
    std::filesystem::copy(image, file(name));
    return file(name);
  }

  /// mirel apply OPTION SOURCE IMAGE -o result.nii.gz --modulate --float, and more options.
  ProgramResult apply(const std::string& option, const std::string& source,
                      const std::string& image, const std::vector<std::string>& more = {}) const {
    std::vector<std::string> words = {"apply", option,           source,       image,
                                      "-o",    file("r.nii.gz"), "--modulate", "--float"};
    words.insert(words.end(), more.begin(), more.end());
    return runMirel(words);
  }

  /// The same, which has to succeed: the correlation of the result with the undistorted head.
  double fidelity(const std::string& option, const std::string& source, const std::string& image,
                  const std::vector<std::string>& more = {}) const {
    const ProgramResult result = apply(option, source, image, more);
    EXPECT_EQ(result.status, 0) << result.err;
    if (result.status != 0) return -1;
    return correlationInBrain(imageIn(file("r.nii.gz")), imageIn(truth("undistorted_epi.nii.gz")));
  }

  /// Refused in one sentence, which is returned; nothing was written.
  std::string refusal(const ProgramResult& result) const {
    EXPECT_EQ(result.status, 1) << result.err;
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
    EXPECT_FALSE(std::filesystem::exists(file("r.nii.gz")));
    return result.err;
  }
};

/// What the right field leaves of the noise: 0.982; the wrong sign has 0.50, rad/s as Hz 0.27.
inline constexpr double faithful = 0.98;

}  // namespace mirel
