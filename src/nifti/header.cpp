#include "nifti/header.h"

#include <nifti2_io.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <glm/geometric.hpp>
#include <initializer_list>
#include <limits>
#include <memory>

#include "base/error.h"

namespace mirel::nifti {

namespace {

struct TypeRow {
  DataType type;
  int bytes;
  bool integer;
  const char* name;
};

constexpr std::array<TypeRow, 10> typeTable{{{DataType::uint8, 1, true, "uint8"},
                                             {DataType::int16, 2, true, "int16"},
                                             {DataType::int32, 4, true, "int32"},
                                             {DataType::float32, 4, false, "float32"},
                                             {DataType::float64, 8, false, "float64"},
                                             {DataType::int8, 1, true, "int8"},
                                             {DataType::uint16, 2, true, "uint16"},
                                             {DataType::uint32, 4, true, "uint32"},
                                             {DataType::int64, 8, true, "int64"},
                                             {DataType::uint64, 8, true, "uint64"}}};

const TypeRow* findType(int code) {
  for (const TypeRow& row : typeTable)
    if (static_cast<int>(row.type) == code) return &row;
  return nullptr;
}

// The type of the two parts of a complex one.
const TypeRow* findPart(int code) {
  if (code == DT_COMPLEX64) return findType(DT_FLOAT32);
  return code == DT_COMPLEX128 ? findType(DT_FLOAT64) : nullptr;
}

const TypeRow& rowOf(DataType type) {
  const TypeRow* row = findType(static_cast<int>(type));
  if (row == nullptr)
    throw Error("data type " + std::to_string(static_cast<int>(type)) + " is not supported");
  return *row;
}

/// The library says what it does not like on standard error; here that is the caller's part.
void silenceLibrary() {
  static const bool silenced = (nifti_set_debug_level(0), true);
  static_cast<void>(silenced);
}

struct ImageDeleter {
  void operator()(nifti_image* image) const { nifti_image_free(image); }
};
using ImagePointer = std::unique_ptr<nifti_image, ImageDeleter>;

nifti_dmat44 toLibrary(const glm::dmat4& m) {
  nifti_dmat44 r;
  for (int row = 0; row < 4; row++)
    for (int column = 0; column < 4; column++) r.m[row][column] = m[column][row];
  return r;
}

glm::dmat4 fromLibrary(const nifti_dmat44& m) {
  glm::dmat4 r;
  for (int row = 0; row < 4; row++)
    for (int column = 0; column < 4; column++) r[column][row] = m.m[row][column];
  return r;
}

constexpr const char* magicTail2 = "\r\n\032\n";

double mmPerUnit(int units) {
  if (units == NIFTI_UNITS_METER) return 1000;
  if (units == NIFTI_UNITS_MICRON) return 0.001;
  return 1;
}

double secondsPerUnit(int units) {
  if (units == NIFTI_UNITS_MSEC) return 1e-3;
  if (units == NIFTI_UNITS_USEC) return 1e-6;
  return 1;
}

/// Checks dim[0 .. 7] of either version before the library sees them.
template <typename Int>
void checkDimensions(const Int* dim, int bytes, const std::string& fileName) {
  const auto count = static_cast<std::int64_t>(dim[0]);
  if (count < 1 || count > 7)
    throw Error(fileName, "is damaged: it claims " + std::to_string(count) + " dimensions");
  std::int64_t voxels = 1;
  for (std::int64_t d = 1; d <= count; d++) {
    const auto size = static_cast<std::int64_t>(dim[d]);
    const std::string what = "dimension " + std::to_string(d) + " of size " + std::to_string(size);
    if (size < 1) throw Error(fileName, "is damaged: it claims a " + what);
    if ((d > 5 && size > 1) || (d == 5 && size > 1 && dim[4] > 1))
      throw Error(fileName, "has a " + what + "; only 3-D and 4-D images are supported");
    if (d >= 4 && size > std::numeric_limits<int>::max())
      throw Error(fileName, "has an impossible number of volumes: " + std::to_string(size));
    // Sizes of a volume stay below 2^31 each, so the products below cannot overflow.
    if (d <= 3 &&
        (size > std::numeric_limits<int>::max() || voxels * size > std::numeric_limits<int>::max()))
      throw Error(fileName, "has impossible dimensions: a volume of more than 2^31 - 1 voxels");
    voxels *= size;
    if (voxels > (std::int64_t{1} << 62) / bytes)
      throw Error(fileName, "has impossible dimensions: more than 2^62 bytes of data");
  }
}

Error unsupportedType(int code, const std::string& fileName) {
  const char* name = nifti_datatype_string(code);
  return {fileName,
          "has the data type " + std::to_string(code) + " (" + name + "), which is not supported"};
}

int checkType(int code, const std::string& fileName) {
  const TypeRow* row = findType(code);
  if (row != nullptr) return row->bytes;
  if (const TypeRow* part = findPart(code); part != nullptr) return 2 * part->bytes;
  throw unsupportedType(code, fileName);
}

std::int64_t checkOffset(double offset, std::size_t headerSize, const std::string& fileName) {
  // 0 is what careless writers leave: the data then follow the header and its extension mark.
  const double first = static_cast<double>(headerSize + 4);
  if (offset == 0) return static_cast<std::int64_t>(first);
  if (!(offset >= static_cast<double>(headerSize)) || offset > 9e15)
    throw Error(fileName, "is damaged: its data cannot start at byte " + std::to_string(offset));
  return static_cast<std::int64_t>(offset);
}

// An orientation that counts must be one; the library reads what is no number as 0, or keeps it.
template <typename Raw>
void checkOrientation(const Raw& raw, const std::string& fileName) {
  const auto check = [&](int code, std::initializer_list<double> values, const char* name) {
    if (code > 0 &&
        !std::all_of(values.begin(), values.end(), [](double v) { return std::isfinite(v); }))
      throw Error(fileName, std::string("is damaged: its orientation (") + name +
                                ") has values that are NaN or infinite");
  };
  check(raw.qform_code,
        {raw.quatern_b, raw.quatern_c, raw.quatern_d, raw.qoffset_x, raw.qoffset_y, raw.qoffset_z},
        "qform");
  for (int n = 0; n < 4; n++)
    check(raw.sform_code, {raw.srow_x[n], raw.srow_y[n], raw.srow_z[n]}, "sform");
}

bool textEquals(const unsigned char* bytes, const char* text, std::size_t count) {
  return std::memcmp(bytes, text, count) == 0;
}

double finiteOr(double value, double fallback) { return std::isfinite(value) ? value : fallback; }

std::string descriptionOf(const nifti_image& image) {
  const char* text = image.descrip;
  std::string result(text, strnlen(text, sizeof(image.descrip)));
  for (char& c : result)
    if (static_cast<unsigned char>(c) < ' ') c = ' ';
  result.erase(result.find_last_not_of(' ') + 1);
  return result;
}

Header fromLibrary(const nifti_image& image, int version) {
  const double mm = mmPerUnit(image.xyz_units);
  Header h;
  h.version = version;
  const auto side = [&](int d) { return d <= image.dim[0] ? static_cast<int>(image.dim[d]) : 1; };
  h.dims = {side(1), side(2), side(3)};
  h.volumes = side(4);
  h.vectorComponents = side(5);
  const double sizes[3] = {image.dx, image.dy, image.dz};
  for (int d = 0; d < 3; d++) {
    const double size = std::fabs(finiteOr(sizes[d], 1));
    h.voxelSizeMm[d] = (size > 0 ? size : 1) * mm;
  }
  h.repetitionTimeSeconds =
      std::fmax(0, finiteOr(image.pixdim[4], 0)) * secondsPerUnit(image.time_units);
  h.slices = {image.freq_dim,
              image.phase_dim,
              image.slice_dim,
              image.slice_code,
              image.slice_start,
              image.slice_end,
              std::fmax(0, finiteOr(image.slice_duration, 0)) * secondsPerUnit(image.time_units)};
  h.intentCode = image.intent_code;
  h.qformCode = image.qform_code;
  h.sformCode = image.sform_code;
  h.qform = {image.quatern_b,
             image.quatern_c,
             image.quatern_d,
             image.qoffset_x * mm,
             image.qoffset_y * mm,
             image.qoffset_z * mm,
             image.qfac < 0 ? -1.0 : 1.0};
  if (h.sformCode > 0) {
    h.sform = fromLibrary(image.sto_xyz);
    for (int column = 0; column < 4; column++)
      for (int row = 0; row < 3; row++) h.sform[column][row] *= mm;
  }
  const TypeRow* part = findPart(image.datatype);
  h.type = part != nullptr ? part->type : static_cast<DataType>(image.datatype);
  const double slope = finiteOr(image.scl_slope, 0);
  if (slope != 0) {
    h.slope = slope;
    h.inter = finiteOr(image.scl_inter, 0);
  }
  h.description = descriptionOf(image);
  return h;
}

StoredHeader parse1(const unsigned char* bytes, bool swapped, const std::string& fileName) {
  nifti_1_header raw;
  std::memcpy(&raw, bytes, sizeof(raw));
  if (swapped) swap_nifti_header(&raw, 1);
  checkOrientation(raw, fileName);
  checkDimensions(raw.dim, checkType(raw.datatype, fileName), fileName);
  StoredHeader result;
  result.swapped = swapped;
  result.dataOffset = checkOffset(static_cast<double>(raw.vox_offset), sizeof(raw), fileName);
  // A time step in pixdim[4] counts for a 3-D image too; the library looks at dim[0] sides only.
  const float timeStep = raw.pixdim[4];
  raw.vox_offset = 352;
  const ImagePointer image(nifti_convert_n1hdr2nim(raw, nullptr));
  if (!image) throw Error(fileName, "has a NIfTI header that cannot be understood");
  image->pixdim[4] = static_cast<double>(timeStep);
  result.header = fromLibrary(*image, 1);
  result.complexValues = findPart(image->datatype) != nullptr;
  return result;
}

StoredHeader parse2(const unsigned char* bytes, bool swapped, const std::string& fileName) {
  nifti_2_header raw;
  std::memcpy(&raw, bytes, sizeof(raw));
  if (swapped) swap_nifti_header(&raw, 2);
  checkOrientation(raw, fileName);
  checkDimensions(raw.dim, checkType(raw.datatype, fileName), fileName);
  StoredHeader result;
  result.swapped = swapped;
  result.dataOffset = checkOffset(static_cast<double>(raw.vox_offset), sizeof(raw), fileName);
  const double timeStep = raw.pixdim[4];
  raw.vox_offset = 544;
  const ImagePointer image(nifti_convert_n2hdr2nim(raw, nullptr));
  if (!image) throw Error(fileName, "has a NIfTI header that cannot be understood");
  image->pixdim[4] = timeStep;
  result.header = fromLibrary(*image, 2);
  result.complexValues = findPart(image->datatype) != nullptr;
  return result;
}

/// The library's image for a header, for writing.
ImagePointer toLibrary(const Header& h, int version) {
  ImagePointer image(nifti_simple_init_nim());
  if (!image) throw std::bad_alloc();
  const int scalarDims = h.volumes > 1 ? 4 : 3;
  const std::int64_t dim[8] = {h.vectorComponents > 1 ? 5 : scalarDims,
                               h.dims.x,
                               h.dims.y,
                               h.dims.z,
                               h.volumes,
                               h.vectorComponents,
                               1,
                               1};
  const double pixdim[8] = {
      0, h.voxelSizeMm.x, h.voxelSizeMm.y, h.voxelSizeMm.z, h.repetitionTimeSeconds, 0, 0, 0};
  std::memcpy(image->dim, dim, sizeof(dim));
  std::memcpy(image->pixdim, pixdim, sizeof(pixdim));
  nifti_update_dims_from_array(image.get());
  image->datatype = static_cast<int>(h.type);
  nifti_datatype_sizes(image->datatype, &image->nbyper, &image->swapsize);
  image->scl_slope = h.slope;
  image->scl_inter = h.inter;
  image->intent_code = h.intentCode;
  image->freq_dim = h.slices.frequencyAxis;
  image->phase_dim = h.slices.phaseAxis;
  image->slice_dim = h.slices.sliceAxis;
  image->slice_code = h.slices.code;
  image->slice_start = h.slices.first;
  image->slice_end = h.slices.last;
  image->slice_duration = h.slices.durationSeconds;
  image->qform_code = h.qformCode;
  image->sform_code = h.sformCode;
  image->quatern_b = h.qform.b;
  image->quatern_c = h.qform.c;
  image->quatern_d = h.qform.d;
  image->qoffset_x = h.qform.x;
  image->qoffset_y = h.qform.y;
  image->qoffset_z = h.qform.z;
  image->qfac = h.qform.qfac;
  image->sto_xyz = toLibrary(h.sform);
  image->xyz_units = NIFTI_UNITS_MM;
  image->time_units = NIFTI_UNITS_SEC;
  image->nifti_type = version == 2 ? NIFTI_FTYPE_NIFTI2_1 : NIFTI_FTYPE_NIFTI1_1;
  std::strncpy(image->descrip, h.description.c_str(), sizeof(image->descrip) - 1);
  nifti_set_iname_offset(image.get(), version);
  return image;
}

}  // namespace

int bytesPerSample(DataType type) { return rowOf(type).bytes; }

bool isInteger(DataType type) { return rowOf(type).integer; }

std::string nameOf(DataType type) { return rowOf(type).name; }

DataType dataTypeNamed(const std::string& name) {
  for (const TypeRow& row : typeTable)
    if (name == row.name) return row.type;
  throw Error("there is no data type \"" + name + "\"");
}

glm::dmat4 Header::qformMatrix() const {
  return fromLibrary(nifti_quatern_to_dmat44(qform.b, qform.c, qform.d, qform.x, qform.y, qform.z,
                                             voxelSizeMm.x, voxelSizeMm.y, voxelSizeMm.z,
                                             qform.qfac));
}

glm::dmat4 Header::affine() const {
  if (sformCode > 0) return sform;
  if (qformCode > 0) return qformMatrix();
  glm::dmat4 m(1.0);
  for (int d = 0; d < 3; d++) m[d][d] = voxelSizeMm[d];
  return m;
}

void Header::setAffine(const glm::dmat4& matrix, int code) {
  sform = matrix;
  sformCode = code;
  qformCode = 0;
  qform = {};
  glm::dvec3 unit[3];
  for (int d = 0; d < 3; d++) {
    const glm::dvec3 column(matrix[d]);
    voxelSizeMm[d] = glm::length(column);
    unit[d] = column / voxelSizeMm[d];
  }
  const bool orthogonal = std::fabs(glm::dot(unit[0], unit[1])) < 1e-4 &&
                          std::fabs(glm::dot(unit[0], unit[2])) < 1e-4 &&
                          std::fabs(glm::dot(unit[1], unit[2])) < 1e-4;
  if (!orthogonal) return;
  qformCode = code;
  double dx = 0, dy = 0, dz = 0;
  nifti_dmat44_to_quatern(toLibrary(matrix), &qform.b, &qform.c, &qform.d, &qform.x, &qform.y,
                          &qform.z, &dx, &dy, &dz, &qform.qfac);
}

Header floatMapLike(const Header& reference) {
  Header map = reference;
  map.volumes = 1;
  map.vectorComponents = 1;
  map.repetitionTimeSeconds = 0;
  map.type = DataType::float32;
  map.slope = 1;
  map.inter = 0;
  return map;
}

StoredHeader parseHeader(const unsigned char* bytes, std::size_t count,
                         const std::string& fileName) {
  silenceLibrary();
  if (count < headerBytes1) throw Error(fileName, "is too short to be a NIfTI image");
  std::int32_t size = 0;
  std::memcpy(&size, bytes, sizeof(size));
  std::int32_t reversed = size;
  nifti_swap_4bytes(1, &reversed);
  const bool swapped = reversed == 348 || reversed == 540;
  if (swapped) size = reversed;
  if (size == 348 && textEquals(bytes + 344, "n+1", 4)) return parse1(bytes, swapped, fileName);
  if (size == 348 && textEquals(bytes + 344, "ni1", 4))
    throw Error(fileName, "is a two-file NIfTI (.hdr and .img), which is not supported");
  if (size == 540 && textEquals(bytes + 4, "n+2", 4)) {
    // The tail shows line ends that were changed on the way; some writers leave it out.
    if (!textEquals(bytes + 8, magicTail2, 4) && !textEquals(bytes + 8, "\0\0\0", 4))
      throw Error(fileName, "is damaged: its signature was changed, as by a transfer as text");
    if (count < headerBytes2) throw Error(fileName, "is too short to be a NIfTI image");
    return parse2(bytes, swapped, fileName);
  }
  if (size == 540 && textEquals(bytes + 4, "ni2", 4))
    throw Error(fileName, "is a two-file NIfTI (.hdr and .img), which is not supported");
  throw Error(fileName, "is not a NIfTI image");
}

std::vector<unsigned char> formatHeader(const Header& header, const std::string& fileName) {
  silenceLibrary();
  const std::int64_t dim[5] = {4, header.dims.x, header.dims.y, header.dims.z, header.volumes};
  checkDimensions(dim, bytesPerSample(header.type), fileName);
  constexpr int side1 = std::numeric_limits<short>::max();
  const bool large = header.dims.x > side1 || header.dims.y > side1 || header.dims.z > side1 ||
                     header.volumes > side1;
  const int version = large || header.version == 2 ? 2 : 1;
  const ImagePointer image = toLibrary(header, version);
  std::vector<unsigned char> bytes((version == 2 ? headerBytes2 : headerBytes1) + 4, 0);
  if (version == 2) {
    nifti_2_header raw;
    if (nifti_convert_nim2n2hdr(image.get(), &raw) != 0)
      throw Error(fileName, "cannot be described by a NIfTI header");
    // The library fills in neither of these for version 2.
    raw.vox_offset = static_cast<std::int64_t>(bytes.size());
    std::memcpy(raw.magic + 4, magicTail2, 4);
    std::memcpy(bytes.data(), &raw, sizeof(raw));
  } else {
    nifti_1_header raw;
    if (nifti_convert_nim2n1hdr(image.get(), &raw) != 0)
      throw Error(fileName, "cannot be described by a NIfTI header");
    std::memcpy(bytes.data(), &raw, sizeof(raw));
  }
  return bytes;
}

}  // namespace mirel::nifti
