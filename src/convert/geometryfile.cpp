#include "convert/geometryfile.h"

#include <cmath>
#include <filesystem>

#include "base/error.h"
#include "base/inputfile.h"
#include "base/json.h"

namespace mirel::convert {

namespace {

namespace fs = std::filesystem;

constexpr const char* kind = "mirel geometry 1";
/// No sidecar of ours comes near; another program's JSON of that name is not read into memory.
constexpr std::uintmax_t largestGeometryFile = 1 << 20;

Json rowsOf(const glm::dmat4& m) {
  Json rows = Json::array();
  for (int row = 0; row < 3; row++) rows.push_back({m[0][row], m[1][row], m[2][row], m[3][row]});
  return rows;
}

glm::dmat4 matrixFrom(const Json& rows) {
  glm::dmat4 m(1.0);
  for (int row = 0; row < 3; row++)
    for (int column = 0; column < 4; column++)
      m[column][row] =
          rows.at(static_cast<std::size_t>(row)).at(static_cast<std::size_t>(column)).number();
  return m;
}

nifti::Header headerFrom(const Json& json) {
  nifti::Header h;
  for (int d = 0; d < 3; d++) {
    const auto n = static_cast<std::size_t>(d);
    h.dims[d] = json.at("dimensions").at(n).integer();
    h.voxelSizeMm[d] = json.at("voxelSizeMm").at(n).number();
  }
  h.volumes = json.at("volumes").integer();
  h.repetitionTimeSeconds = json.at("repetitionTimeSeconds").number();
  const Json& q = json.at("qform");
  h.qformCode = q.at("code").integer();
  h.qform = {q.at("b").number(), q.at("c").number(), q.at("d").number(),   q.at("x").number(),
             q.at("y").number(), q.at("z").number(), q.at("qfac").number()};
  h.sformCode = json.at("sform").at("code").integer();
  h.sform = matrixFrom(json.at("sform").at("rows"));
  h.version = json.at("niftiVersion").integer();
  h.type = nifti::dataTypeNamed(json.at("dataType").string());
  h.slope = json.at("slope").number();
  h.inter = json.at("intercept").number();
  h.description = json.at("description").string();
  return h;
}

bool isUsable(const nifti::Header& h) {
  return h.dims.x > 0 && h.dims.y > 0 && h.dims.z > 0 && h.voxelSizeMm.x > 0 &&
         h.voxelSizeMm.y > 0 && h.voxelSizeMm.z > 0;
}

}  // namespace

std::string formatGeometry(const nifti::Header& h) {
  Json json;
  json["kind"] = kind;
  json["dimensions"] = {h.dims.x, h.dims.y, h.dims.z};
  json["volumes"] = h.volumes;
  json["voxelSizeMm"] = {h.voxelSizeMm.x, h.voxelSizeMm.y, h.voxelSizeMm.z};
  json["repetitionTimeSeconds"] = h.repetitionTimeSeconds;
  json["qform"] = {{"code", h.qformCode}, {"b", h.qform.b},      {"c", h.qform.c},
                   {"d", h.qform.d},      {"x", h.qform.x},      {"y", h.qform.y},
                   {"z", h.qform.z},      {"qfac", h.qform.qfac}};
  json["sform"] = {{"code", h.sformCode}, {"rows", rowsOf(h.sform)}};
  json["niftiVersion"] = h.version;
  json["dataType"] = nifti::nameOf(h.type);
  json["slope"] = h.slope;
  json["intercept"] = h.inter;
  json["description"] = h.description;
  return json.dump(2, Json::NotUtf8::dropped) + "\n";
}

std::optional<nifti::Header> parseGeometry(const std::string& text) {
  try {
    const std::optional<Json> json = Json::parse(text);
    if (!json || !json->is_object() || json->at("kind").string() != kind) return std::nullopt;
    const nifti::Header header = headerFrom(*json);
    if (!isUsable(header)) return std::nullopt;
    return header;
  } catch (const Json::Fault&) {
    return std::nullopt;
  } catch (const Error&) {
    return std::nullopt;
  }
}

std::string geometryFileName(const std::string& projectFileName) {
  const fs::path path(projectFileName);
  return (path.parent_path() / (path.stem().string() + "_geometry.json")).string();
}

std::vector<std::string> geometryFileCandidates(const std::string& projectFileName) {
  const fs::path path(projectFileName);
  std::string stem = path.stem().string();
  std::vector<std::string> names;
  while (!stem.empty()) {
    names.push_back((path.parent_path() / (stem + "_geometry.json")).string());
    const std::size_t cut = stem.find_last_of('_');
    stem = cut == std::string::npos ? std::string() : stem.substr(0, cut);
  }
  return names;
}

std::optional<nifti::Header> readGeometryFile(const std::string& fileName) {
  std::error_code failure;
  if (!fs::is_regular_file(fileName, failure)) return std::nullopt;
  if (fs::file_size(fileName, failure) > largestGeometryFile || failure) return std::nullopt;
  return parseGeometry(readWholeFile(fileName, largestGeometryFile));
}

}  // namespace mirel::convert
