#include "companions/registers/export/export.h"

#include <algorithm>

namespace regs {

const std::vector<ExportFormat> EXPORT_FORMATS = {
    {"c", CHeaderOf}, {"csv", CsvOf}, {"svd", SvdOf}, {"systemrdl", SystemRdlOf}};

std::uint64_t BytesOf(const MemberOutline& member) {
    return (member.repeat.count - 1) * member.repeat.step + 4 * member.words;
}

std::uint64_t BytesOf(const GroupOutline& group) {
    std::uint64_t bytes = 0;
    for (const MemberOutline& member : group.members) {
        bytes = std::max(bytes, member.offset + BytesOf(member));
    }
    return bytes;
}

}  // namespace regs
