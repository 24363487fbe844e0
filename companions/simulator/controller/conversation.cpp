#include "companions/simulator/controller/conversation.h"

#include <string>

#include "companions/commandline/printable.h"

namespace controller {

namespace {

using commandline::ChecksumText;

/** Bytes before a page's data: number, CRC and the size of the data. */
constexpr size_t PAGE_PREFIX = 8;
constexpr size_t INFO_SIZE = 4;

/** A page from its body. If the stated size is wrong the data is empty, which is a bad size. */
FlashPage UnpackPage(const std::vector<uint8_t>& body) {
    FlashPage page;
    if (body.size() < PAGE_PREFIX) {
        return page;
    }
    page.number = ReadU16(body.data());
    page.crc = static_cast<uint16_t>(body[3] << 8 | body[2]);
    if (ReadU32(body.data() + 4) == body.size() - PAGE_PREFIX) {
        page.data.assign(body.begin() + PAGE_PREFIX, body.end());
    }
    return page;
}

}  // namespace

ByteResult Conversation::take(uint8_t byte) {
    i_position.follow(i_reader.begun());
    const std::optional<Frame> frame = i_reader.push(byte);
    if (!frame) {
        return {};
    }
    i_position.endMessage();
    noteDroppedBytes();
    return handle(*frame);
}

void Conversation::noteDroppedBytes() {
    const size_t dropped = i_reader.droppedBytes() - i_droppedBytes;
    if (dropped != 0) {
        i_events.finding(std::to_string(dropped) + " bytes belong to no message");
        i_droppedBytes = i_reader.droppedBytes();
    }
}

ByteResult Conversation::handle(const Frame& frame) {
    ByteResult outcome;
    outcome.complete = true;
    switch (frame.id) {
        case ID_UPGRADE_BEGIN:
            begin();
            break;
        case ID_FLASH_PAGE:
            outcome.answer = page(frame.body);
            break;
        case ID_UPGRADE_INFO:
            info(frame.body);
            break;
        case ID_UPGRADE_END:
            outcome.upgraded = end();
            break;
        default:
            ++i_counts.unknown;
            i_events.finding("message of unknown id " + std::to_string(frame.id));
            break;
    }
    return outcome;
}

void Conversation::begin() {
    close();
    ++i_counts.begins;
    i_events.trace("host begins an upgrade");
    i_flash.erase();
    i_open = true;
    i_fits = false;
    i_position.begin();
}

PageResult Conversation::judge(const FlashPage& page) {
    const PageResult result = i_flash.program(page);
    const bool good = result == PageResult::Good;
    ++(good ? i_counts.goodPages : i_counts.badPages);
    if (!good) {
        i_events.finding("page " + std::to_string(page.number) + ": " + ResultName(result));
    }
    return result;
}

PageAnswer Conversation::page(const std::vector<uint8_t>& body) {
    ++i_counts.pages;
    const FlashPage page = UnpackPage(body);
    const unsigned attempt = i_position.attempt();
    const PageResult result = judge(page);
    if (i_events.tracing()) {
        i_events.trace("host sends page " + std::to_string(page.number) + ", attempt " +
                       std::to_string(attempt) + ", CRC " + ChecksumText(page.crc) + ", answer " +
                       ResultName(result));
    }
    return {page.number, attempt, PackResult(static_cast<uint8_t>(result))};
}

void Conversation::info(const std::vector<uint8_t>& body) {
    ++i_counts.infos;
    if (body.size() != INFO_SIZE) {
        i_events.finding("upgrade information of " + std::to_string(body.size()) + " bytes");
        return;
    }
    const uint16_t pages = ReadU16(body.data());
    i_checksum = ReadU16(body.data() + 2);
    i_events.trace("host announces " + std::to_string(pages) + " pages, checksum " +
                   ChecksumText(i_checksum));
    i_fits = pages == i_flash.pages();
    if (!i_fits) {
        i_events.finding(std::to_string(pages) + " pages announced, " +
                         std::to_string(i_flash.pages()) + " received");
    }
    if (i_expectedChecksum && *i_expectedChecksum != i_checksum) {
        i_fits = false;
        i_events.finding("checksum " + ChecksumText(i_checksum) + ", expected " +
                         ChecksumText(*i_expectedChecksum));
    }
}

bool Conversation::end() {
    ++i_counts.ends;
    i_events.trace("host ends the upgrade");
    const bool upgraded = i_open && i_fits;
    if (upgraded) {
        ++i_counts.upgrades;
        i_events.event("upgrade complete, " + std::to_string(i_flash.pages()) +
                       " pages, checksum " + ChecksumText(i_checksum));
    } else {
        i_events.finding("upgrade ended without a transfer that fits");
    }
    i_open = false;
    i_fits = false;
    return upgraded;
}

void Conversation::breakOff(const char* why) {
    noteDroppedBytes();
    const bool begun = !i_reader.begun().empty();
    forget();
    if (begun) {
        i_events.finding(std::string("message broken off: ") + why);
    }
}

void Conversation::forget() {
    i_reader.restart();
    i_position.endMessage();
}

void Conversation::restart() {
    breakOff("another host has come");
    close();
    i_position = {};
}

void Conversation::close() {
    if (i_open) {
        i_open = false;
        i_events.finding("upgrade broken off after " + std::to_string(i_flash.pages()) + " pages");
    }
}

}  // namespace controller
