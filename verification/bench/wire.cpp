#include "verification/bench/wire.h"

#include "link/controllermessages.h"
#include "link/routercrc.h"
#include "link/yamp.h"

namespace bench {

namespace {

Frame Packed(const YAMPMessage& message, size_t length) {
    Frame frame(length);
    unsigned int packed = 0;
    // The length is that of the message, so packing cannot fail.
    (void)YAMPPack(frame.data(), static_cast<unsigned int>(length), message, &packed);
    return frame;
}

}  // namespace

Frame GoodAnswer() {
    return {0x02, 0xDC, 0x2E, 0xA6, 0, 0, 0, 9, 0};
}

std::vector<Frame> Upgrade(uint16_t pages) {
    const std::vector<char> page(256);
    std::vector<Frame> frames = {Packed(TolmiraUpgradeBeginMessage(), BEGIN_LENGTH)};
    for (uint16_t number = 0; number < pages; ++number) {
        frames.push_back(
            Packed(TolmiraFlashPageMessage(ControllerFlashPage(number, page, RouterCrc(page))),
                   PAGE_LENGTH));
    }
    frames.push_back(
        Packed(TolmiraUpgradeInfoMessage(ControllerUpgradeInfo(pages, 0)), INFO_LENGTH));
    frames.push_back(Packed(TolmiraUpgradeEndMessage(), END_LENGTH));
    return frames;
}

}  // namespace bench
