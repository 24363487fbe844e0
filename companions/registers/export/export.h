#pragma once

#include <string>
#include <vector>

#include "companions/registers/velnor_regs/outline.h"

/**
 * Register maps in formats of other tools. Each writer returns the whole file as text, the same
 * bytes for the same map. Addresses are bytes from the base of the card's address space. Anything
 * that the data sheet does not state is left out.
 */
namespace regs {

struct ExportedMap {
    std::string design;
    /** Of the project, for the formats that store it. */
    std::string version;
    std::vector<GroupOutline> groups;
};

/** A header of constants for C99 and C++. Throws Failure if two names become the same constant. */
std::string CHeaderOf(const ExportedMap& map);
/** A row for each field of each instance, as in RFC 4180, but lines end in a line feed. */
std::string CsvOf(const ExportedMap& map);
/** CMSIS-SVD 1.3. */
std::string SvdOf(const ExportedMap& map);
/** SystemRDL 2.0. */
std::string SystemRdlOf(const ExportedMap& map);

struct ExportFormat {
    const char* name;
    std::string (*write)(const ExportedMap& map);
};

extern const std::vector<ExportFormat> EXPORT_FORMATS;

/** Larger memories are not exported word by word, since readers would unfold them. */
constexpr std::size_t MOST_EXPORTED_WORDS = 65536;

/** The bytes from the group's address to the end of its last member. */
std::uint64_t BytesOf(const GroupOutline& group);
/** From its address to the end of its last word. */
std::uint64_t BytesOf(const MemberOutline& member);

}  // namespace regs
