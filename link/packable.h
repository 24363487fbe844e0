#pragma once

class ReadableSmartBuffer;
class WriteableSmartBuffer;

/**
 * An object that can be packed into a message: writes its fields into a smart buffer and reads them
 * back in the same order. `pack` writes the same number of bytes in sizing mode. Neither function
 * reports failure; the buffer records it.
 */
class Packable {
  public:
    virtual ~Packable() = default;

    /** Writes the fields and returns `buffer`. */
    virtual WriteableSmartBuffer& pack(WriteableSmartBuffer& buffer) const = 0;
    /** Reads the fields back and returns `buffer`. Fields that can't be read stay as they are. */
    virtual ReadableSmartBuffer& unpack(ReadableSmartBuffer& buffer) = 0;
};
