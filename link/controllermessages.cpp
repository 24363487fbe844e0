#include "link/controllermessages.h"

WriteableSmartBuffer& ControllerUpgradeInfo::pack(WriteableSmartBuffer& buffer) const {
    return buffer << i_pages << i_checksum;
}

ReadableSmartBuffer& ControllerUpgradeInfo::unpack(ReadableSmartBuffer& buffer) {
    return buffer >> i_pages >> i_checksum;
}

WriteableSmartBuffer& ControllerFlashPage::pack(WriteableSmartBuffer& buffer) const {
    return buffer << i_pageNumber << i_crc << i_data;
}

ReadableSmartBuffer& ControllerFlashPage::unpack(ReadableSmartBuffer& buffer) {
    return buffer >> i_pageNumber >> i_crc >> i_data;
}

WriteableSmartBuffer& ControllerFlashPageResult::pack(WriteableSmartBuffer& buffer) const {
    return buffer << i_result;
}

ReadableSmartBuffer& ControllerFlashPageResult::unpack(ReadableSmartBuffer& buffer) {
    return buffer >> i_result;
}

WriteableSmartBuffer& EmptyData::pack(WriteableSmartBuffer& buffer) const {
    return buffer;
}

ReadableSmartBuffer& EmptyData::unpack(ReadableSmartBuffer& buffer) {
    return buffer;
}

bool EmptyData::operator==(const EmptyData& /*other*/) const {
    return true;
}

bool EmptyData::operator!=(const EmptyData& other) const {
    return !(*this == other);
}

bool EmptyData::serialize(node_type& node) const {
    if (!PersistenceBase::serialize(node)) {
        return false;
    }
    node.class_name("EmptyData");
    return true;
}

bool EmptyData::deserialize(const node_type& node) {
    return PersistenceBase::deserialize(node);
}

WriteableSmartBuffer& ControllerInputChangeMessage::pack(WriteableSmartBuffer& buffer) const {
    return buffer << i_first << i_second;
}

ReadableSmartBuffer& ControllerInputChangeMessage::unpack(ReadableSmartBuffer& buffer) {
    return buffer >> i_first >> i_second;
}

WriteableSmartBuffer& ControllerLogData::pack(WriteableSmartBuffer& buffer) const {
    return buffer << i_first << i_second << i_third;
}

ReadableSmartBuffer& ControllerLogData::unpack(ReadableSmartBuffer& buffer) {
    return buffer >> i_first >> i_second >> i_third;
}
