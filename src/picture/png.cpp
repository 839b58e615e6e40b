#include <png.h>

#include <csetjmp>
#include <stdexcept>

#include "base/outputfile.h"
#include "picture/image.h"

namespace mirel::picture {

namespace {

// The PNG stream in memory, so that the file is written in one go and libpng's jumps never cross
// an object that needs destruction.
struct Encoder {
  const RgbImage& image;
  std::vector<unsigned char> bytes;
};

void append(png_structp png, png_bytep data, png_size_t count) {
  auto* bytes = static_cast<std::vector<unsigned char>*>(png_get_io_ptr(png));
  bytes->insert(bytes->end(), data, data + count);
}

void flushNothing(png_structp) {}

bool encode(Encoder& encoder) {
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  if (!png) return false;
  png_infop info = png_create_info_struct(png);
  if (!info || setjmp(png_jmpbuf(png))) {
    png_destroy_write_struct(&png, &info);
    return false;
  }
  png_set_write_fn(png, &encoder.bytes, append, flushNothing);
  png_set_IHDR(png, info, static_cast<png_uint_32>(encoder.image.width()),
               static_cast<png_uint_32>(encoder.image.height()), 8, PNG_COLOR_TYPE_RGB,
               PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  png_set_compression_level(png, 9);
  png_write_info(png, info);
  for (int y = 0; y < encoder.image.height(); ++y) png_write_row(png, encoder.image.row(y));
  png_write_end(png, nullptr);
  png_destroy_write_struct(&png, &info);
  return true;
}

}  // namespace

void writePng(const std::string& fileName, const RgbImage& image) {
  if (image.width() == 0) throw std::invalid_argument("an empty picture cannot be written");
  Encoder encoder{image, {}};
  if (!encode(encoder))
    throw std::runtime_error("the picture " + fileName + " could not be encoded");
  OutFile file(fileName);
  file.write(encoder.bytes.data(), encoder.bytes.size());
  file.commit();
}

}  // namespace mirel::picture
