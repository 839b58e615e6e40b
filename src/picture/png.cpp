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
  bool grey;
  std::vector<unsigned char> bytes;
  std::vector<unsigned char> line;  // of a grey picture
};

bool isGrey(const RgbImage& image) {
  for (int y = 0; y < image.height(); ++y)
    for (int x = 0; x < image.width(); ++x) {
      const Colour colour = image.at(x, y);
      if (colour[0] != colour[1] || colour[1] != colour[2]) return false;
    }
  return true;
}

// A row of the picture in as many bytes as its pixels have in the file.
const unsigned char* rowOf(Encoder& encoder, int y) {
  if (!encoder.grey) return encoder.image.row(y);
  for (std::size_t x = 0; x < encoder.line.size(); ++x)
    encoder.line[x] = encoder.image.at(static_cast<int>(x), y)[0];
  return encoder.line.data();
}

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
               static_cast<png_uint_32>(encoder.image.height()), 8,
               encoder.grey ? PNG_COLOR_TYPE_GRAY : PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
               PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  png_set_compression_level(png, 9);
  png_write_info(png, info);
  for (int y = 0; y < encoder.image.height(); ++y) png_write_row(png, rowOf(encoder, y));
  png_write_end(png, nullptr);
  png_destroy_write_struct(&png, &info);
  return true;
}

}  // namespace

std::vector<unsigned char> pngBytes(const RgbImage& image, PngColours colours) {
  if (image.width() == 0) throw std::invalid_argument("an empty picture cannot be written");
  Encoder encoder{image, colours == PngColours::greyWherePossible && isGrey(image), {}, {}};
  encoder.line.resize(static_cast<std::size_t>(image.width()));
  if (!encode(encoder)) throw std::runtime_error("the picture could not be encoded");
  return std::move(encoder.bytes);
}

void writePng(const std::string& fileName, const RgbImage& image) {
  const std::vector<unsigned char> bytes = pngBytes(image);
  OutFile file(fileName);
  file.write(bytes.data(), bytes.size());
  file.commit();
}

}  // namespace mirel::picture
