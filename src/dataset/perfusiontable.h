#pragma once

#include <string>

namespace mirel::dataset {

/// Copies the table of a perfusion series (_aslcontext.tsv), which tells its volumes apart, to a
/// folder, under its own name and byte by byte. Nothing for other images, and where there is none
/// or it is there already.
/// Errors  Error: it cannot be read or written.
void copyPerfusionTable(const std::string& imageFile, const std::string& folder);

}  // namespace mirel::dataset
