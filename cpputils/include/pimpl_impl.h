#pragma once

#include "logger/assertion.h"

/**
 * Owns the private implementation of a class: takes an object made with `new` and deletes it.
 *
 * T may be incomplete where the owner is declared, but must be complete where the owner is
 * constructed and destroyed. T's destructor must be virtual if the object is of a derived class. A
 * const owner gives access to a const T only.
 */
template <typename T>
class PImplT {
  public:
    /** Takes ownership of `ptr`, which must not be null. */
    explicit PImplT(T* ptr) : i_ptr(ptr) { ASSERT(i_ptr); }
    ~PImplT() { delete i_ptr; }

    PImplT(const PImplT&) = delete;
    PImplT& operator=(const PImplT&) = delete;

    T* operator->() { return i_ptr; }
    const T* operator->() const { return i_ptr; }
    T& operator*() { return *i_ptr; }
    const T& operator*() const { return *i_ptr; }

  private:
    T* i_ptr;
};
