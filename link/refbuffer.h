#pragma once

#include <atomic>
#include <cstdint>
#include <utility>

/**
 * An object that counts its references, from 0, and deletes itself with the last one. The count is
 * atomic: any thread may drop a reference.
 */
class RefObj {
  public:
    RefObj() = default;
    virtual ~RefObj() = default;
    RefObj(const RefObj&) = delete;
    RefObj& operator=(const RefObj&) = delete;

    void acquire() { i_count.fetch_add(1, std::memory_order_relaxed); }
    void release() {
        // The last holder must see the other holders' changes before it deletes the object.
        if (i_count.fetch_sub(1, std::memory_order_acq_rel) == 1) {
            delete this;
        }
    }

  private:
    std::atomic<uint32_t> i_count{0};
};

/** A counted pointer to a RefObj; null when default-constructed. */
template <typename T>
class RefPtr {
  public:
    RefPtr() = default;
    // Implicit, so that a new object can be assigned as with a plain pointer.
    RefPtr(T* object) : i_object(object) {  // NOLINT(google-explicit-constructor)
        if (i_object != nullptr) {
            i_object->acquire();
        }
    }
    RefPtr(const RefPtr& other) : RefPtr(other.i_object) {}
    RefPtr(RefPtr&& other) noexcept : i_object(std::exchange(other.i_object, nullptr)) {}
    ~RefPtr() {
        if (i_object != nullptr) {
            i_object->release();
        }
    }

    // By value: the parameter's destructor releases the old object.
    RefPtr& operator=(RefPtr other) {
        std::swap(i_object, other.i_object);
        return *this;
    }

    T* get() const { return i_object; }
    T* operator->() const { return i_object; }
    T& operator*() const { return *i_object; }

  private:
    T* i_object = nullptr;
};

/** Received bytes: owns an array made with new[], which may be null. `size` in bytes. */
class RefBuffer : public RefObj {
  public:
    RefBuffer(unsigned char* bytes, uint32_t size) : i_bytes(bytes), i_size(size) {}
    ~RefBuffer() override { delete[] i_bytes; }

    unsigned char* bytes() const { return i_bytes; }
    uint32_t size() const { return i_size; }

  private:
    unsigned char* const i_bytes;
    const uint32_t i_size;
};
