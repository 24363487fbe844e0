#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "logger/assertion.h"

/**
 * Typed access to the 32-bit words of a mapped hardware region and to the bit fields inside them.
 * The generated register maps derive all their classes from the ones here.
 *
 * A is the accessor, which performs the loads and stores; T is the type of a word.
 *
 * Constructing and destroying these objects touches no hardware, so they may have addresses that
 * are not mapped. Nothing is cached: each get loads the word again. Each set of a field is one load
 * followed by one store, even if the field fills the word.
 *
 * Nothing here locks. Threads that share a word must serialise their accesses: setting a field
 * loses what another thread stores between the load and the store.
 *
 * The generated registers and memories own their fields; the ones here have none. All of them
 * borrow the accessor and the region, which must outlive them.
 *
 * Generated classes add a method for each field, named by a hardware table. The methods here must
 * not have such names (the tables use `size`, `mask` and `base`); the generator refuses a clash.
 */

/** Makes each access as one aligned volatile load or store of the whole word. */
class VolatileAccessor {
  public:
    template <class T>
    T read(const volatile T* address) const {
        return *address;
    }

    /** Stores `value` at the address. */
    template <class T>
    void write(volatile T* address, std::remove_cv_t<T> value) const {
        *address = value;
    }
};

/**
 * The field of `word`: a group of adjacent bits. `mask` is right-aligned, `shift` is the lowest
 * bit.
 */
template <class T>
constexpr T FieldOfWord(T word, T mask, unsigned int shift) {
    return (word >> shift) & mask;
}

/** `word` with the field replaced; bits of `value` beyond the mask are lost. */
template <class T>
constexpr T WordWithField(T word, T mask, unsigned int shift, T value) {
    return (word & ~(mask << shift)) | ((value & mask) << shift);
}

/** One word. */
template <class A, class T>
class Register {
  public:
    /** `address` is absolute, in this process. */
    Register(A& accessor, std::uintptr_t address)
        : i_word(0),
          i_accessor(accessor),
          i_address(reinterpret_cast<T*>(address)) {}  // NOLINT(performance-no-int-to-ptr)
    Register(A& accessor, volatile T* address)
        : Register(accessor, reinterpret_cast<std::uintptr_t>(address)) {}
    virtual ~Register() = default;
    Register(const Register&) = delete;
    Register& operator=(const Register&) = delete;

    T get() const { return i_accessor.read(i_address); }
    void set(T value) { i_accessor.write(i_address, value); }

    std::uintptr_t absoluteAddress() const { return reinterpret_cast<std::uintptr_t>(i_address); }

  protected:
    /** Always 0: part of the layout, otherwise unused. */
    T i_word;
    A& i_accessor;
    T* i_address;
};

/** A field of a register, which owns it. */
template <class A, class T>
class RegisterField {
  public:
    RegisterField(Register<A, T>* parent, T mask, unsigned int shift)
        : i_parent(parent), i_mask(mask), i_shift(shift) {}
    virtual ~RegisterField() = default;
    RegisterField(const RegisterField&) = delete;
    RegisterField& operator=(const RegisterField&) = delete;

    /** The value of the field, right-aligned. */
    T get() const { return FieldOfWord(i_parent->get(), i_mask, i_shift); }
    /** Keeps all other bits of the word. */
    void set(T value) { i_parent->set(WordWithField(i_parent->get(), i_mask, i_shift, value)); }

    T alignedMask() const { return i_mask; }
    unsigned int lowestBit() const { return i_shift; }

  protected:
    Register<A, T>* i_parent;
    T i_mask;
    unsigned int i_shift;
};

/** A run of words. An offset at or past the size is a programming error and stops the process. */
template <class A, class T>
class Memory {
  public:
    /** `base` is the absolute address of the first word, `size` a number of words. */
    Memory(A& accessor, std::uintptr_t base, std::size_t size)
        : i_accessor(accessor),
          i_base(reinterpret_cast<T*>(base)),  // NOLINT(performance-no-int-to-ptr)
          i_size(size) {}
    Memory(A& accessor, volatile T* base, std::size_t size)
        : Memory(accessor, reinterpret_cast<std::uintptr_t>(base), size) {}
    virtual ~Memory() = default;
    Memory(const Memory&) = delete;
    Memory& operator=(const Memory&) = delete;

    /** The whole word at `offset`, in words. */
    T getraw(std::size_t offset) const {
        ASSERT(offset < i_size);
        return i_accessor.read(i_base + offset);
    }

    void setraw(std::size_t offset, T value) {
        ASSERT(offset < i_size);
        i_accessor.write(i_base + offset, value);
    }

    std::uintptr_t absoluteAddress() const { return reinterpret_cast<std::uintptr_t>(i_base); }
    std::size_t sizeInWords() const { return i_size; }

  protected:
    A& i_accessor;
    T* i_base;
    std::size_t i_size;
};

/** A field of a memory, which owns it: the same bits in the word at each offset. */
template <class A, class T>
class MemoryField {
  public:
    MemoryField(Memory<A, T>* parent, T mask, unsigned int shift)
        : i_parent(parent), i_mask(mask), i_shift(shift) {}
    virtual ~MemoryField() = default;
    MemoryField(const MemoryField&) = delete;
    MemoryField& operator=(const MemoryField&) = delete;

    /** The value of the field in the word at `offset`, right-aligned. */
    T get(std::size_t offset) const {
        return FieldOfWord(i_parent->getraw(offset), i_mask, i_shift);
    }

    /** Keeps all other bits of the word. */
    void set(std::size_t offset, T value) {
        const T word = i_parent->getraw(offset);
        i_parent->setraw(offset, WordWithField(word, i_mask, i_shift, value));
    }

    T alignedMask() const { return i_mask; }
    unsigned int lowestBit() const { return i_shift; }

  protected:
    Memory<A, T>* i_parent;
    T i_mask;
    unsigned int i_shift;
};

/** The one field of a memory. */
template <class A, class T>
class SingleMemoryField : public MemoryField<A, T> {
  public:
    using MemoryField<A, T>::MemoryField;
};
