#include "phantom/sessionwriter.h"

#include <filesystem>

#include "base/error.h"
#include "base/outputfile.h"
#include "nifti/gradients.h"
#include "nifti/image.h"
#include "phantom/gridheader.h"

namespace mirel {

SessionWriter::SessionWriter(const PhantomDatasetOptions& options, const SessionPlace& place)
    : grid{options.image.size, options.image.voxelMm}, folder(place.root + "/" + place.folder()) {}

void SessionWriter::image(const std::string& stem, nifti::DataType type, int volumes,
                          double repetitionTimeSeconds,
                          const std::function<Volume<float>(int)>& volume) const {
  nifti::Writer writer(file(stem, ".nii.gz"),
                       headerOn(grid, type, volumes, repetitionTimeSeconds,
                                std::filesystem::path(stem).filename().string()));
  for (int t = 0; t < volumes; ++t) writer.write(volume(t));
  writer.finish();
}

void SessionWriter::sidecar(const std::string& stem, const Json& content) const {
  write(file(stem, ".json"), content.dump(2) + "\n");
}

void SessionWriter::gradients(const std::string& stem, const nifti::GradientTable& table) const {
  if (table.bValues.empty()) return;
  write(file(stem, ".bval"), nifti::formatBValues(table));
  write(file(stem, ".bvec"), nifti::formatDirections(table));
}

std::string SessionWriter::file(const std::string& stem, const std::string& ending) const {
  const std::filesystem::path path = folder + "/" + stem + ending;
  std::error_code error;
  std::filesystem::create_directories(path.parent_path(), error);
  if (error) throw Error("cannot create the folder of " + path.string() + ": " + error.message());
  return path.string();
}

void SessionWriter::write(const std::string& name, const std::string& text) const {
  OutFile out(name);
  out.write(text);
  out.commit();
}

}  // namespace mirel
