#include "dataset/perfusiontable.h"

#include <filesystem>

#include "base/inputfile.h"
#include "base/outputfile.h"
#include "bids/name.h"

namespace mirel::dataset {

namespace fs = std::filesystem;

void copyPerfusionTable(const std::string& imageFile, const std::string& folder) {
  constexpr std::uintmax_t largest = 1U << 20U;
  bids::Name name = bids::Name::of(imageFile);
  if (name.suffix != "asl") return;
  name.suffix = "aslcontext";
  const std::string file = name.text() + ".tsv";
  const fs::path from = fs::path(imageFile).parent_path() / file, to = fs::path(folder) / file;
  std::error_code ignored;
  if (!fs::exists(from, ignored)) return;
  const std::string content = readWholeFile(from.string(), largest);
  if (fs::exists(to, ignored) && readWholeFile(to.string(), largest) == content) return;
  OutFile out(to.string());
  out.write(content);
  out.commit();
}

}  // namespace mirel::dataset
