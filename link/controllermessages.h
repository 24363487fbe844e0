#pragma once

#include <cstdint>
#include <vector>

#include "cpputils/include/s11nser.h"
#include "link/packable.h"
#include "link/routercrc.h"
#include "link/yamp.h"

/**
 * The messages of the upgrade conversation and their contents. The host sends Begin, then each
 * page, which the controller answers with a result, and after the last page Info and End. The host
 * reads only the answers to pages.
 */

/** The extent of a finished transfer. */
class ControllerUpgradeInfo : public Packable {
  public:
    ControllerUpgradeInfo() = default;
    /** `checksum` is the image's own: the last two bytes of its file. */
    ControllerUpgradeInfo(uint16_t pages, uint16_t checksum)
        : i_pages(pages), i_checksum(checksum) {}

    WriteableSmartBuffer& pack(WriteableSmartBuffer& buffer) const override;
    ReadableSmartBuffer& unpack(ReadableSmartBuffer& buffer) override;

    uint16_t pages() const { return i_pages; }
    uint16_t checksum() const { return i_checksum; }

  private:
    uint16_t i_pages = 0;
    uint16_t i_checksum = 0;
};

/** One flash page. The length of the data is part of the message. */
class ControllerFlashPage : public Packable {
  public:
    ControllerFlashPage() = default;
    ControllerFlashPage(uint16_t pageNumber, const std::vector<char>& data, const RouterCrc& crc)
        : i_pageNumber(pageNumber), i_crc(crc), i_data(data) {}

    WriteableSmartBuffer& pack(WriteableSmartBuffer& buffer) const override;
    ReadableSmartBuffer& unpack(ReadableSmartBuffer& buffer) override;

    uint16_t pageNumber() const { return i_pageNumber; }
    const RouterCrc& crc() const { return i_crc; }
    const std::vector<char>& data() const { return i_data; }

  private:
    uint16_t i_pageNumber = 0;
    RouterCrc i_crc;
    std::vector<char> i_data;
};

/** The controller's verdict on a page: 0 is good. An answer without a verdict counts as bad. */
class ControllerFlashPageResult : public Packable {
  public:
    static constexpr uint8_t GOOD = 0;

    ControllerFlashPageResult() = default;
    explicit ControllerFlashPageResult(uint8_t result) : i_result(result) {}

    WriteableSmartBuffer& pack(WriteableSmartBuffer& buffer) const override;
    ReadableSmartBuffer& unpack(ReadableSmartBuffer& buffer) override;

    uint8_t result() const { return i_result; }

  private:
    uint8_t i_result = 0xFF;
};

/** The payload of a message without content: it packs to no bytes, and all objects are equal. */
class EmptyData : public Packable, public PersistenceBase {
  public:
    WriteableSmartBuffer& pack(WriteableSmartBuffer& buffer) const override;
    ReadableSmartBuffer& unpack(ReadableSmartBuffer& buffer) override;

    virtual bool operator==(const EmptyData& other) const;
    virtual bool operator!=(const EmptyData& other) const;

    [[nodiscard]] virtual bool serialize(node_type& node) const;
    [[nodiscard]] virtual bool deserialize(const node_type& node);
};

/** Part of the message family, but not used by an upgrade. */
class ControllerInputChangeMessage : public Packable {
  public:
    ControllerInputChangeMessage() = default;
    ControllerInputChangeMessage(uint16_t first, uint16_t second)
        : i_first(first), i_second(second) {}

    WriteableSmartBuffer& pack(WriteableSmartBuffer& buffer) const override;
    ReadableSmartBuffer& unpack(ReadableSmartBuffer& buffer) override;

    uint16_t first() const { return i_first; }
    uint16_t second() const { return i_second; }

  private:
    uint16_t i_first = 0;
    uint16_t i_second = 0;
};

/** Part of the message family, but not used by an upgrade. */
class ControllerLogData : public Packable {
  public:
    ControllerLogData() = default;
    ControllerLogData(uint32_t first, uint32_t second, uint32_t third)
        : i_first(first), i_second(second), i_third(third) {}

    WriteableSmartBuffer& pack(WriteableSmartBuffer& buffer) const override;
    ReadableSmartBuffer& unpack(ReadableSmartBuffer& buffer) override;

    uint32_t first() const { return i_first; }
    uint32_t second() const { return i_second; }
    uint32_t third() const { return i_third; }

  private:
    uint32_t i_first = 0;
    uint32_t i_second = 0;
    uint32_t i_third = 0;
};

/** The payloads of the messages. */
template <>
struct TolmiraPayloadT<11938> {
    using Type = ControllerUpgradeInfo;
};
template <>
struct TolmiraPayloadT<11939> {
    using Type = ControllerFlashPage;
};
template <>
struct TolmiraPayloadT<11940> {
    using Type = EmptyData;
};
template <>
struct TolmiraPayloadT<11941> {
    using Type = EmptyData;
};
template <>
struct TolmiraPayloadT<11942> {
    using Type = ControllerFlashPageResult;
};

using TolmiraUpgradeInfoMessage = TolmiraMessageT<11938>;
using TolmiraFlashPageMessage = TolmiraMessageT<11939>;
using TolmiraUpgradeEndMessage = TolmiraMessageT<11940>;
using TolmiraUpgradeBeginMessage = TolmiraMessageT<11941>;
using TolmiraFlashPageResultMessage = TolmiraMessageT<11942>;
