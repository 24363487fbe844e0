#include "companions/operator/toollog/texts.h"

#include <cstddef>
#include <iterator>

namespace toollog {

namespace {

struct Row {
    const char* severity;
    std::string format;
};

const Row ROWS[] = {
#define TOOL_LOG_ROW(name, severity, format) {#severity, format},
    TOOL_LOG_LINES(TOOL_LOG_ROW)
#undef TOOL_LOG_ROW
};

constexpr char NUMBER_CHARACTERS[] = "0123456789ABCDEF-";

/** A format split at its conversions. */
struct Pieces {
    std::vector<std::string> literals;
    /** The letter of each conversion; one less than the literals. */
    std::string conversions;
};

Pieces Cut(const std::string& format) {
    Pieces pieces;
    std::size_t from = 0;
    for (std::size_t percent = format.find('%'); percent != std::string::npos;
         percent = format.find('%', from)) {
        const std::size_t letter = format.find_first_of("dsX", percent);
        pieces.literals.push_back(format.substr(from, percent - from));
        pieces.conversions += format[letter];
        from = letter + 1;
    }
    pieces.literals.push_back(format.substr(from));
    return pieces;
}

/** End of the value at `from`: a text is matched greedily up to `next`, a number is not. */
std::size_t EndOfValue(const std::string& message, std::size_t from, char conversion,
                       const std::string& next) {
    if (conversion != 's') {
        const std::size_t end = message.find_first_not_of(NUMBER_CHARACTERS, from);
        return end == from ? std::string::npos : end;
    }
    return next.empty() ? message.size() : message.rfind(next);
}

bool Matches(const std::string& format, const std::string& message,
             std::vector<std::string>& values) {
    const Pieces pieces = Cut(format);
    std::size_t at = 0;
    for (std::size_t i = 0; i < pieces.literals.size(); ++i) {
        if (i > 0) {
            const std::size_t end =
                EndOfValue(message, at, pieces.conversions[i - 1], pieces.literals[i]);
            if (end == std::string::npos || end < at) {
                return false;
            }
            values.push_back(message.substr(at, end - at));
            at = end;
        }
        if (message.compare(at, pieces.literals[i].size(), pieces.literals[i]) != 0) {
            return false;
        }
        at += pieces.literals[i].size();
    }
    return at == message.size();
}

}  // namespace

Recognised Recognise(const std::string& severity, const std::string& message) {
    for (std::size_t i = 0; i < std::size(ROWS); ++i) {
        Recognised recognised{static_cast<e_LogText>(i), {}};
        if (severity == ROWS[i].severity && Matches(ROWS[i].format, message, recognised.values)) {
            return recognised;
        }
    }
    return {};
}

std::string Message(e_LogText text, const std::vector<std::string>& values) {
    if (text < 0 || text >= e_LogText_Other) {
        return "";
    }
    const Pieces pieces = Cut(ROWS[text].format);
    std::string message = pieces.literals[0];
    for (std::size_t i = 0; i < values.size(); ++i) {
        message += values[i] + pieces.literals.at(i + 1);
    }
    return message;
}

std::string WithoutNewline(std::string message) {
    if (!message.empty() && message.back() == '\n') {
        message.pop_back();
    }
    return message;
}

}  // namespace toollog
