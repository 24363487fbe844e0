#include "companions/operator/inspect/answer.h"

#include <ostream>

#include "companions/commandline/printable.h"
#include "companions/jsonvalue/jsonvalue.h"

namespace inspect {

namespace {

using commandline::ChecksumText;
using commandline::Printable;

bool HasLastPage(const Layout& layout) {
    return layout.pages != 0 && layout.lastPageContent >= 0;
}

void PrintLayout(std::ostream& out, const Layout& layout) {
    out << "payload start: " << layout.payloadStart << "\npayload size: " << layout.payloadSize
        << "\npages: " << layout.pages << "\nchecksum: " << ChecksumText(layout.checksum) << '\n';
    if (HasLastPage(layout)) {
        out << "content of the last page: " << layout.lastPageContent << '\n';
    }
}

void PrintOne(std::ostream& out, const Inspection& inspection) {
    out << "file: " << Printable(inspection.file) << '\n';
    if (inspection.size) {
        out << "size: " << *inspection.size << '\n';
    }
    if (!inspection.sha256.empty()) {
        out << "sha256: " << inspection.sha256 << '\n';
    }
    int number = 0;
    for (const std::string& line : inspection.header) {
        out << "header line " << ++number << (line.empty() ? ":" : ": ") << Printable(line) << '\n';
    }
    if (inspection.layout) {
        PrintLayout(out, *inspection.layout);
    }
    out << "verdict: " << WordsOf(inspection.verdict);
    out << (inspection.reason.empty() ? "" : ": ") << inspection.reason << '\n';
    if (inspection.forecast) {
        const Forecast& forecast = *inspection.forecast;
        out << "the tool: " << forecast.summary << "; exit value " << forecast.exitValue << '\n';
        for (const std::string& message : forecast.log) {
            out << "  logs: " << Printable(message.substr(0, message.rfind('\n'))) << '\n';
        }
    }
}

JsonValue JsonOf(const Inspection& inspection) {
    JsonValue object = {{"file", inspection.file},
                        {"verdict", WordsOf(inspection.verdict)},
                        {"sendable", inspection.verdict == e_Verdict_Sendable},
                        {"reason", inspection.reason},
                        {"header", inspection.header}};
    if (inspection.size) {
        object["size"] = *inspection.size;
    }
    if (!inspection.sha256.empty()) {
        object["sha256"] = inspection.sha256;
    }
    if (inspection.layout) {
        const Layout& layout = *inspection.layout;
        object["payload_start"] = layout.payloadStart;
        object["payload_size"] = layout.payloadSize;
        object["pages"] = layout.pages;
        object["checksum"] = ChecksumText(layout.checksum);
        if (HasLastPage(layout)) {
            object["last_page_content"] = layout.lastPageContent;
        }
    }
    if (inspection.forecast) {
        object["tool"] = {{"exit_value", inspection.forecast->exitValue},
                          {"pages_sent", inspection.forecast->pagesSent},
                          {"summary", inspection.forecast->summary},
                          {"log", inspection.forecast->log}};
    }
    return object;
}

}  // namespace

void PrintAsText(std::ostream& out, const std::vector<Inspection>& inspections) {
    const char* separator = "";
    for (const Inspection& inspection : inspections) {
        out << separator;
        PrintOne(out, inspection);
        separator = "\n";
    }
}

void PrintAsJson(std::ostream& out, const std::vector<Inspection>& inspections) {
    JsonValue answer = {{"format", 1}, {"images", JsonValue::array()}};
    for (const Inspection& inspection : inspections) {
        answer["images"].append(JsonOf(inspection));
    }
    out << answer.dump(1) << '\n';
}

}  // namespace inspect
