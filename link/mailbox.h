#pragma once

#include <cstddef>

/**
 * The mailbox between the host and the controller: its location, the addresses of its bytes, and
 * the values that the two sides write to each other. Both ends of the link share this header and
 * nothing else.
 */

/**
 * The card's address space and the mailbox in it, in bytes. Each mailbox address is one 32-bit
 * word.
 */
constexpr std::size_t REGION_SIZE = 0x1000000;
constexpr std::size_t MAILBOX_OFFSET = 0x2800;
constexpr std::size_t MAILBOX_SIZE = std::size_t{32} * 4;

/** Receive direction, controller to host. */
constexpr unsigned int MAILBOX_RX_DATA = 5;
constexpr unsigned int MAILBOX_RX_FLAG = 6;
constexpr unsigned int MAILBOX_RX_STATE = 7;

/** Send direction, host to controller. The state also shows the controller's presence. */
constexpr unsigned int MAILBOX_TX_DATA = 8;
constexpr unsigned int MAILBOX_TX_FLAG = 9;
constexpr unsigned int MAILBOX_TX_STATE = 10;

/** The controller's firmware revision. */
constexpr unsigned int MAILBOX_REVISION_LOW = 16;
constexpr unsigned int MAILBOX_REVISION_HIGH = 17;

/**
 * The flag of a data byte: the sender sets it to OFFERED after writing the byte, the receiver to
 * TAKEN after reading it.
 */
constexpr unsigned char RX_BYTE_OFFERED = 243;
constexpr unsigned char RX_BYTE_TAKEN = 63;
constexpr unsigned char TX_BYTE_OFFERED = 36;
constexpr unsigned char TX_BYTE_TAKEN = 35;

/** A direction's state. Any other value is neither requested nor ready. */
constexpr unsigned char STATE_ABSENT = 0;
constexpr unsigned char STATE_REQUESTED = 1;
constexpr unsigned char STATE_READY = 2;
