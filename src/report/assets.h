#pragma once

#include <span>
#include <string>

/// The files of the page, as they lie beside this one; they are part of the program.
namespace mirel::report {

std::string pageTemplate();  ///< with those that it is made of put in
std::string styleSheet();
std::string scriptText();
std::string viewerScript();

/// The library of the viewer, a script, as gzip data, and what a content security policy calls it;
/// empty where the program was built without it, and its notices.
std::span<const unsigned char> viewerLibrary();
std::string viewerLibraryHash();
std::string viewerLicence();
/// Of the page over a dataset, whose style comes after the other one.
std::string indexTemplate();
std::string indexStyle();
std::string indexScript();

}  // namespace mirel::report
