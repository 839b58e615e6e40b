#pragma once

#include <string>

/// The files of the page, as they lie beside this one; they are part of the program.
namespace mirel::report {

std::string pageTemplate();  ///< with those that it is made of put in
std::string styleSheet();
std::string scriptText();
/// Of the page over a dataset, whose style comes after the other one.
std::string indexTemplate();
std::string indexStyle();
std::string indexScript();

}  // namespace mirel::report
