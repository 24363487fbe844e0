#pragma once

#include <nlohmann/json.hpp>
#include <string>

/**
 * Readers of what the exports write, and of no more: for tests. Each gives the lines of a dump.
 * They throw std::exception for what they cannot read.
 */
namespace testsupport {

std::string LinesOfC(const std::string& text);
std::string LinesOfCsv(const std::string& text);
std::string LinesOfSvd(const std::string& text);
std::string LinesOfSystemRdl(const std::string& text);

}  // namespace testsupport
