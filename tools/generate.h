// What is made from the table of verbs besides the parser.
#pragma once

#include <string>

namespace tool {

struct Verb;

// The manual pages, in the man macros: of the tool, and of one verb.
std::string mainPage();
std::string verbPage(const Verb& verb);

// The scripts that complete command lines.
std::string bashCompletion();
std::string zshCompletion();
std::string fishCompletion();

}  // namespace tool
