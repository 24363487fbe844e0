#include <pugixml.hpp>
#include <sstream>

#include "companions/registers/export/export.h"
#include "companions/registers/velnor_regs/number.h"

namespace regs {

namespace {

using pugi::xml_node;

constexpr std::uint64_t WORD_BYTES = 4;

void Add(xml_node parent, const char* name, const std::string& text) {
    parent.append_child(name).text().set(text.c_str());
}

void AddAbout(xml_node parent, const Said& said) {
    if (!said.about.empty()) {
        Add(parent, "description", said.about);
    }
}

/**
 * Repeat and name. Contiguous elements are an array. Others are a list, whose elements have their
 * numbers in their names.
 */
void AddName(xml_node parent, const std::string& name, const Repeat& repeat, bool isArray) {
    if (repeat.count > 1) {
        Add(parent, "dim", std::to_string(repeat.count));
        Add(parent, "dimIncrement", HexText(repeat.step));
    }
    Add(parent, "name", name + (repeat.count == 1 ? "" : isArray ? "[%s]" : "%s"));
}

void AddAccess(xml_node field, hwmap::e_Access access) {
    if (access == hwmap::e_Access_WriteOnly) {
        Add(field, "access", "write-only");
    } else if (access != hwmap::e_Access_Unstated) {
        Add(field, "access", "read-only");
    }
    if (access == hwmap::e_Access_ReadClears) {
        Add(field, "readAction", "clear");
    }
}

void AddField(xml_node fields, const FieldOutline& outline) {
    xml_node field = fields.append_child("field");
    AddName(field, outline.name, outline.repeat, false);
    Add(field, "bitOffset", std::to_string(outline.shift));
    Add(field, "bitWidth", std::to_string(WidthOf(outline.mask)));
    AddAccess(field, outline.said.access);
}

/** The bits whose value after reset is known, and that value. */
void AddReset(xml_node word, const MemberOutline& member) {
    std::uint32_t value = 0;
    std::uint32_t mask = 0;
    for (const FieldOutline& field : member.fields) {
        for (std::size_t i = 0; field.said.reset && i < field.repeat.count; ++i) {
            const std::uint64_t shift = field.shift + i * field.repeat.step;
            value |= *field.said.reset << shift;
            mask |= field.mask << shift;
        }
    }
    if (mask != 0) {
        Add(word, "resetValue", HexText(value));
        Add(word, "resetMask", HexText(mask));
    }
}

void AddRegister(xml_node registers, const MemberOutline& member, std::uint64_t offset,
                 const Repeat& repeat) {
    xml_node word = registers.append_child("register");
    AddName(word, member.name, repeat, repeat.step == WORD_BYTES);
    AddAbout(word, member.said);
    Add(word, "addressOffset", HexText(offset));
    AddReset(word, member);
    xml_node fields = word.append_child("fields");
    for (const FieldOutline& field : member.fields) {
        AddField(fields, field);
    }
}

/** A memory becomes a register for each of its words, and a repeated memory a cluster. */
void AddMember(xml_node registers, const MemberOutline& member) {
    const bool isExported = member.isMemory && member.words <= MOST_EXPORTED_WORDS;
    const Repeat words{isExported ? member.words : 1, isExported ? WORD_BYTES : 0};
    if (!member.isMemory || member.repeat.count == 1) {
        AddRegister(registers, member, member.offset, member.isMemory ? words : member.repeat);
        return;
    }
    xml_node cluster = registers.append_child("cluster");
    AddName(cluster, member.name, member.repeat, member.repeat.step == member.words * WORD_BYTES);
    AddAbout(cluster, member.said);
    Add(cluster, "addressOffset", HexText(member.offset));
    const Said nothing = {};
    MemberOutline word = member;
    word.name = "word";
    word.said = nothing;  // the cluster has it
    AddRegister(cluster, word, 0, words);
}

/** Instances that don't overlap are an array: each takes the bytes up to the next one. */
void AddPeripheral(xml_node peripherals, const GroupOutline& group) {
    xml_node peripheral = peripherals.append_child("peripheral");
    const bool isArray = group.repeat.step >= BytesOf(group);
    AddName(peripheral, group.name, group.repeat, isArray);
    AddAbout(peripheral, group.said);
    Add(peripheral, "groupName", group.domain);
    Add(peripheral, "baseAddress", HexText(group.address));
    const bool isEmpty = group.members.empty();
    const std::uint64_t bytes = group.repeat.count > 1 && isArray ? group.repeat.step
                                : isEmpty                         ? WORD_BYTES
                                                                  : BytesOf(group);
    xml_node block = peripheral.append_child("addressBlock");
    Add(block, "offset", "0x0");
    Add(block, "size", HexText(bytes));
    Add(block, "usage",
        isEmpty                           ? "reserved"
        : bytes > 4 * MOST_EXPORTED_WORDS ? "buffer"
                                          : "registers");
    if (isEmpty) {
        return;
    }
    xml_node registers = peripheral.append_child("registers");
    for (const MemberOutline& member : group.members) {
        AddMember(registers, member);
    }
}

}  // namespace

std::string SvdOf(const ExportedMap& map) {
    pugi::xml_document document;
    xml_node declaration = document.append_child(pugi::node_declaration);
    declaration.append_attribute("version") = "1.0";
    declaration.append_attribute("encoding") = "utf-8";
    xml_node device = document.append_child("device");
    device.append_attribute("schemaVersion") = "1.3";
    device.append_attribute("xmlns:xs") = "http://www.w3.org/2001/XMLSchema-instance";
    device.append_attribute("xs:noNamespaceSchemaLocation") = "CMSIS-SVD.xsd";
    Add(device, "name", "velnor_vp_" + map.design);
    Add(device, "version", map.version);
    Add(device, "description", "Register map of the FPGA design " + map.design);
    Add(device, "addressUnitBits", "8");
    Add(device, "width", "32");
    Add(device, "size", "32");
    // By default, no value after reset is known.
    Add(device, "resetValue", "0x0");
    Add(device, "resetMask", "0x0");
    xml_node peripherals = device.append_child("peripherals");
    for (const GroupOutline& group : map.groups) {
        AddPeripheral(peripherals, group);
    }
    std::ostringstream text;
    document.save(text, "  ", pugi::format_default, pugi::encoding_utf8);
    return text.str();
}

}  // namespace regs
