#include "verification/campaign/outcome.h"

#include <algorithm>
#include <cstdio>
#include <sstream>

#include "link/mailbox.h"

namespace campaign {

namespace {

std::vector<std::string> Lines(const std::string& text) {
    std::istringstream stream(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

std::string Number(uint32_t number) {
    char text[16];
    (void)snprintf(text, sizeof text, "%03X", number);
    return text;
}

/** Item `index` as text, or "(the end)". */
template <typename Items, typename Describe>
std::string Item(const Items& items, size_t index, const Describe& describe) {
    return index < items.size() ? describe(items[index]) : "(the end)";
}

/** The first difference of two sequences, with up to three items before it. */
template <typename Items, typename Equal, typename Describe>
std::string FirstDifference(const char* name, const Items& predicted, const Items& seen,
                            const Equal& equal, const Describe& describe) {
    const auto places =
        std::mismatch(predicted.begin(), predicted.end(), seen.begin(), seen.end(), equal);
    if (places.first == predicted.end() && places.second == seen.end()) {
        return {};
    }
    const auto index = static_cast<size_t>(places.first - predicted.begin());
    std::string text = std::string("  ") + name + " " + std::to_string(index) + "\n";
    constexpr size_t before = 3;
    for (size_t i = index - std::min(index, before); i < index; ++i) {
        text += "      both       " + describe(predicted[i]) + "\n";
    }
    return text + "      predicted  " + Item(predicted, index, describe) + "\n      seen       " +
           Item(seen, index, describe) + "\n";
}

template <typename T>
std::string Simple(const char* name, const T& predicted, const T& seen) {
    std::ostringstream text;
    if (predicted != seen) {
        text << "  " << name << ": predicted " << predicted << ", seen " << seen << "\n";
    }
    return text.str();
}

const char* CallName(Call call) {
    switch (call) {
        case Call::Clock:
            return "clock";
        case Call::Sleep:
            return "sleep";
        case Call::Lock:
            return "lock ";
        default:
            return "line ";
    }
}

std::string DescribeStep(const ToolCall& step) {
    std::string text = CallName(step.call) + (" at " + std::to_string(step.now)) + ", words";
    for (size_t i = 0; i < step.words.size(); ++i) {
        text += " " + std::to_string(MAILBOX_RX_DATA + i) + "=" + Number(step.words[i]);
    }
    return text;
}

bool SameStep(const ToolCall& a, const ToolCall& b) {
    return a.call == b.call && a.now == b.now && a.words == b.words;
}

std::string DescribeByte(char byte) {
    return Number(static_cast<unsigned char>(byte));
}

std::string DescribeWord(uint32_t word) {
    return Number(word);
}

}  // namespace

Words FreshWords() {
    Words words;
    for (size_t i = 0; i < words.size(); ++i) {
        words[i] = 0xA5A50000 + static_cast<uint32_t>(i);
    }
    for (unsigned address = MAILBOX_RX_DATA; address <= MAILBOX_TX_STATE; ++address) {
        words[address] = 0;
    }
    return words;
}

std::string Differences(const RunOutcome& predicted, const RunOutcome& seen) {
    const auto equal = [](const auto& a, const auto& b) { return a == b; };
    const auto asItIs = [](const std::string& line) { return line; };
    return Simple("exit value", predicted.exitValue, seen.exitValue) +
           Simple("signal", predicted.signal, seen.signal) +
           Simple("standard error", predicted.err, seen.err) +
           Simple("resets", predicted.resets, seen.resets) +
           FirstDifference("log line", Lines(predicted.log), Lines(seen.log), equal, asItIs) +
           FirstDifference("flash byte", predicted.flash, seen.flash, equal, DescribeByte) +
           FirstDifference("final word", predicted.words, seen.words, equal, DescribeWord) +
           FirstDifference("step", predicted.steps, seen.steps, SameStep, DescribeStep);
}

}  // namespace campaign
