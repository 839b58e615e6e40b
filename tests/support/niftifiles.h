#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "support/temporaryfolder.h"

/// Files for the tests, made byte by byte from the format's own offsets so that they do not
/// share code with what they test.
namespace mirel::niftifiles {

/// While it lives, no file of this process grows beyond `bytes`: a disk that is full there.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(unsigned long bytes);
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;
  ~FileSizeLimit();

 private:
  unsigned long before;
};

struct Raw {
  int version = 1;
  bool swapped = false;
  std::vector<std::int64_t> dim{3, 2, 3, 4};  ///< dim[0], dim[1], ...
  int datatype = 4;
  double pixdim[8] = {1, 2, 2.5, 3, 1.5, 0, 0, 0};
  double slope = 0, inter = 0;
  int qformCode = 0, sformCode = 1;
  double quatern[6] = {0, 0, 0, 0, 0, 0};
  double sform[3][4] = {{-2, 0, 0, 90}, {0, 2.5, 0, -126}, {0, 0, 3, -72}};
  int units = 2 | 8;                ///< mm and seconds
  double offset = -1;               ///< -1: right behind the header
  std::string magic;                ///< empty: the right one
  std::vector<unsigned char> data;  ///< in the machine's byte order
  int sampleBytes = 2;
};

std::vector<unsigned char> bytesOf(const Raw& raw);
/// Compressed as one gzip stream.
std::vector<unsigned char> gzipped(const std::vector<unsigned char>& bytes);
void writeBytes(const std::string& name, const std::vector<unsigned char>& bytes);
void writeText(const std::string& name, const std::string& text);
std::vector<unsigned char> readBytes(const std::string& name);

template <typename T>
std::vector<unsigned char> samples(const std::vector<T>& values) {
  const auto* first = reinterpret_cast<const unsigned char*>(values.data());
  return {first, first + values.size() * sizeof(T)};
}

/// The text of what `body` throws; "nothing" when it does not.
template <typename Body>
std::string failure(const Body& body) {
  try {
    body();
  } catch (const std::exception& e) {
    return e.what();
  }
  return "nothing";
}

/// The real images: the environment variable MIREL_TEST_DATA, or the folder known at build time;
/// empty when there is none.
std::string dataFolder();

}  // namespace mirel::niftifiles
