#include "tool/pagetransfer.h"

#include <algorithm>

#include "link/controllermessages.h"
#include "logger/logger.h"
#include "tool/tfiimage.h"

namespace {

constexpr int LAST_ATTEMPT = 4;  // counted from 0

/**
 * Reads the controller's answer to a page. True if it is a result and the result is good. An answer
 * with another id is ignored without a log line, but it uses up the attempt.
 */
bool ReadVerdict(uint16_t pageNumber, RouterCommReader& reader) {
    RefPtr<RefBuffer> buffer;  // owns the bytes of the body
    uint16_t id = 0;
    const std::unique_ptr<SmartBufferReader> body = reader.readMessage(buffer, id);
    if (body == nullptr) {
        LOG_MESSAGE(ERROR, "Failed to get response message\n");
        return false;
    }
    TolmiraFlashPageResultMessage answer;
    if (id != answer.getId()) {
        return false;
    }
    answer.unpack(*body);
    const bool good = answer.payload().result() == ControllerFlashPageResult::GOOD;
    LOG_MESSAGE(NOTICE, "Page %d %s\n", pageNumber,
                good ? "sent successfully" : "did not send successfully");
    return good;
}

}  // namespace

bool SendFlashPageToTolmira(const std::vector<char>& page, uint16_t pageNumber,
                            RouterCommWriter& writer, RouterCommReader& reader) {
    const TolmiraFlashPageMessage message(ControllerFlashPage(pageNumber, page, RouterCrc(page)));
    bool delivered = false;
    for (int attempt = 0; !delivered && attempt <= LAST_ATTEMPT; ++attempt) {
        if (writer.send(message)) {
            delivered = ReadVerdict(pageNumber, reader);
        } else {
            LOG_MESSAGE(ERROR, "Failed to send YAMP message attempt %d\n", attempt);
        }
    }
    return delivered;
}

bool SendUpgradeContentsToController(std::ifstream& image, long int payloadSize, uint16_t pages,
                                     RouterCommWriter& writer, RouterCommReader& reader) {
    std::vector<char> page(TFI_PAGE_SIZE);
    int offset = 0;
    bool succeeded = false;
    while (offset < payloadSize && image.good()) {
        const auto pageNumber = static_cast<uint16_t>(offset / TFI_PAGE_SIZE);
        const bool isLast = pageNumber + 1 == pages;
        if (!isLast) {
            image.read(page.data(), TFI_PAGE_SIZE);
            offset += TFI_PAGE_SIZE;
        } else {
            // -1 if the checksum straddles the last two pages: the read fails, and nothing is sent.
            const std::streamsize count = payloadSize - offset - TFI_CHECKSUM_SIZE;
            offset = static_cast<int>(payloadSize);
            std::fill(page.begin(), page.end(), '\0');
            image.read(page.data(), count);
        }
        if (!image.good()) {
            break;
        }
        if (!SendFlashPageToTolmira(page, pageNumber, writer, reader)) {
            LOG_MESSAGE(ERROR, "Failed to send page %d\n", pageNumber);
            break;
        }
        succeeded = isLast;
    }
    return succeeded;
}
