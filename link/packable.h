#pragma once

class ReadableSmartBuffer;
class WriteableSmartBuffer;

/**
 * Anything that travels: writes its fields into a smart buffer and reads them back in the same
 * order. `pack` writes the same number of bytes whether or not the buffer is only sizing. Neither
 * reports failure: the buffer keeps it.
 */
class Packable {
  public:
    virtual ~Packable() = default;

    /** Writes the fields; returns `buffer`. */
    virtual WriteableSmartBuffer& pack(WriteableSmartBuffer& buffer) const = 0;
    /** Reads them back; fields that can't be read stay as they are. Returns `buffer`. */
    virtual ReadableSmartBuffer& unpack(ReadableSmartBuffer& buffer) = 0;
};
