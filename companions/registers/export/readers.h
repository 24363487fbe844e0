#pragma once

#include <nlohmann/json.hpp>
#include <string>

/**
 * Test readers for exactly what the exports write. Each returns the lines of a dump, and throws
 * std::exception for anything else.
 */
namespace testsupport {

std::string LinesOfC(const std::string& text);
std::string LinesOfCsv(const std::string& text);
std::string LinesOfSvd(const std::string& text);
std::string LinesOfSystemRdl(const std::string& text);

}  // namespace testsupport
