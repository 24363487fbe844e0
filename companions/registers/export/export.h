#pragma once

#include <string>
#include <vector>

#include "companions/registers/velnor_regs/outline.h"

/**
 * Register maps in formats of other tools. Each writer gives the whole file as text, the same bytes
 * for the same map. Addresses are bytes from the base of the card's address space. What the data
 * sheet does not say is left out.
 */
namespace regs {

struct ExportedMap {
    std::string design;
    /** Of the project; some formats have a place for it. */
    std::string version;
    std::vector<GroupOutline> groups;
};

/** A header for C99 and C++ with constants alone. Throws Failure if two names become one. */
std::string CHeaderOf(const ExportedMap& map);
/** A row for each field of each instance, as RFC 4180 has it, but lines end in a line feed. */
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

/** Memories of more words than this are not told word by word: the readers would unfold them. */
constexpr std::size_t MOST_TOLD_WORDS = 65536;

/** The bytes from the group's address to the end of its last member. */
std::uint64_t BytesOf(const GroupOutline& group);
/** From its address to the end of its last word. */
std::uint64_t BytesOf(const MemberOutline& member);

}  // namespace regs
