#include "tool/upgradesequence.h"

#include <cstdint>
#include <fstream>

#include "link/controllermessages.h"
#include "logger/logger.h"
#include "tool/pagetransfer.h"
#include "tool/tfiimage.h"

namespace {

/** What the transfer needs to know about an image. */
struct ImageFacts {
    long payloadSize;  // bytes, the checksum included
    uint16_t checksum;
    uint16_t pages;
};

/**
 * Checks the open image, logs its facts or what is wrong with it, and leaves the stream at the
 * start of the payload. False if it can't be sent.
 */
bool ExamineImage(std::ifstream& image, ImageFacts& facts) {
    const long fileSize = GetFileSize(image);
    const long payloadStart = FindTfiPayloadStart(image);
    if (payloadStart == 0) {
        LOG_MESSAGE(ERROR, "Error: Invalid TFI format, not upgrading\n");
        return false;
    }
    facts.payloadSize = fileSize - payloadStart;
    image.seekg(payloadStart);
    facts.checksum = ReadTfiChecksum(image);
    const long pages =
        facts.payloadSize / TFI_PAGE_SIZE + (facts.payloadSize % TFI_PAGE_SIZE != 0 ? 1 : 0);
    if (pages > TFI_MAX_PAGES) {
        LOG_MESSAGE(ERROR, "Error: Image has %ld pages, at most 65535 can be sent, not upgrading\n",
                    pages);
        return false;
    }
    facts.pages = static_cast<uint16_t>(pages);
    LOG_MESSAGE(NOTICE, "Checksum is %04X\n", facts.checksum);
    LOG_MESSAGE(NOTICE, "File is open size %ld %d pages\n", fileSize, facts.pages);
    return true;
}

/**
 * The conversation. Success depends on the pages alone: the opening and closing messages get no
 * answer.
 */
bool SendImage(std::ifstream& image, const ImageFacts& facts, RouterCommWriter& writer,
               RouterCommReader& reader) {
    // If this message is lost, the first page fails.
    (void)writer.send(TolmiraUpgradeBeginMessage());
    if (!SendUpgradeContentsToController(image, facts.payloadSize, facts.pages, writer, reader)) {
        LOG_MESSAGE(ERROR, "Failed to upgrade Tolmira controller!\n");
        return false;
    }
    // Success means that every page was acknowledged; nothing acknowledges these two.
    (void)writer.send(
        TolmiraUpgradeInfoMessage(ControllerUpgradeInfo(facts.pages, facts.checksum)));
    (void)writer.send(TolmiraUpgradeEndMessage());
    return true;
}

}  // namespace

bool UpgradeController(const char* imagePath, RouterCommWriter& writer, RouterCommReader& reader) {
    std::ifstream image(imagePath, std::ios::in | std::ios::binary);
    LOG_MESSAGE(NOTICE, "File name is %s\n", imagePath);
    ImageFacts facts = {};
    const bool upgraded =
        image.is_open() && ExamineImage(image, facts) && SendImage(image, facts, writer, reader);
    image.close();
    LOG_MESSAGE(NOTICE, "Done\n");
    return upgraded;
}
