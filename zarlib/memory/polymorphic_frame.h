// polymorphic_frame: a reference-counted owner of an object on the process heap.
#pragma once

#include "zarlib/memory/dymic_alloc.h"

#include <atomic>
#include <new>
#include <utility>

/// A handle to a shared T, which the first data() creates and the last handle to let go destroys.
///
/// All handles of a frame see one object: there is no copy on write. The count is atomic, so each thread may copy and
/// drop its own handles to a shared object; a single handle, and the object, belong to one thread at a time. Copying
/// costs one atomic addition; the object and its count are one block of baseDymicAlloc.
///
///     state     data()                  pointer(), operator->   hasData()   referenceCount()   setNull()
///     null      creates T; sharing      null                    false       0                  nothing
///     sharing   the object              its address             true        its handles        null; last ends T
///
/// The library exports the instantiation polymorphic_frame<chFileStdio>.
/// REQUIRES: T is default-constructible; its alignment is at most two words of the target.
template <class T>
class polymorphic_frame : public baseDymicAlloc {
public:
  polymorphic_frame() = default;
  polymorphic_frame(const polymorphic_frame &other);
  ~polymorphic_frame();

  /// Releases its own object, then shares the other's; `other` may lie inside the object released. There is no move:
  /// the source always keeps its share.
  polymorphic_frame &operator=(const polymorphic_frame &other);

  /// The object, created now if there is none. Heap exhaustion is not checked: the process faults.
  T &data();

  /// REQUIRES: hasData().
  const T &const_data() const;

  /// @return The object, or null; never creates one.
  T *operator->() const;
  T *pointer() const;

  bool hasData() const;

  /// @return The number of handles to the object, 0 without one.
  int referenceCount() const;

  /// Whether both share one object, or both have none.
  bool operator==(const polymorphic_frame &other) const;

  /// Releases the object. The handle is already null while T's destructor runs.
  void setNull();

protected:
  /// setNull() under another name.
  void release_frame();

private:
  struct frame {
    std::atomic<int> references{1};
    T object{};
  };

  static frame *retained(frame *shared);
  frame *make_frame();

  frame *m_frame = nullptr;
};

// The bodies stand outside the class so that an explicit instantiation exports them on every target.

template <class T>
polymorphic_frame<T>::polymorphic_frame(const polymorphic_frame &other)
    : baseDymicAlloc(other), m_frame(retained(other.m_frame)) {}

template <class T>
polymorphic_frame<T>::~polymorphic_frame() {
  release_frame();
}

template <class T>
polymorphic_frame<T> &polymorphic_frame<T>::operator=(const polymorphic_frame &other) {
  if (this == &other) return *this;
  frame *const incoming = retained(other.m_frame);
  release_frame();
  m_frame = incoming;
  return *this;
}

template <class T>
T &polymorphic_frame<T>::data() {
  if (!m_frame) m_frame = make_frame();
  return m_frame->object;
}

template <class T>
const T &polymorphic_frame<T>::const_data() const {
  return *pointer();
}

template <class T>
T *polymorphic_frame<T>::operator->() const {
  return pointer();
}

template <class T>
T *polymorphic_frame<T>::pointer() const {
  return m_frame ? &m_frame->object : nullptr;
}

template <class T>
bool polymorphic_frame<T>::hasData() const {
  return m_frame != nullptr;
}

template <class T>
int polymorphic_frame<T>::referenceCount() const {
  return m_frame ? m_frame->references.load(std::memory_order_relaxed) : 0;
}

template <class T>
bool polymorphic_frame<T>::operator==(const polymorphic_frame &other) const {
  return m_frame == other.m_frame;
}

template <class T>
void polymorphic_frame<T>::setNull() {
  release_frame();
}

template <class T>
void polymorphic_frame<T>::release_frame() {
  frame *const leaving = std::exchange(m_frame, nullptr);
  if (!leaving || leaving->references.fetch_sub(1) != 1) return;
  leaving->~frame();
  this->free(leaving);
}

template <class T>
typename polymorphic_frame<T>::frame *polymorphic_frame<T>::retained(frame *shared) {
  if (shared) shared->references.fetch_add(1);
  return shared;
}

template <class T>
typename polymorphic_frame<T>::frame *polymorphic_frame<T>::make_frame() {
  static_assert(alignof(frame) <= 2 * sizeof(void *), "the heap aligns to two words");
  void *const memory = this->alloc(static_cast<int>(sizeof(frame)));
  try {
    return ::new (memory) frame;
  } catch (...) {
    this->free(memory);
    throw;
  }
}
