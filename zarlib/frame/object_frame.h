// ipcObjectFrame and ipcObjectHeader: one object of a fixed layout at the start of a named block.
//
// Everyone who opens a name sees the same object, and exactly one opener constructs it: the creator of the block, under the
// mutex of the same name, before anybody else can look. What lies in the block is reached by self-relative words (list_chain_offset,
// share_pointer, basePoolAlloc), so the block holds at any address. docs/formats/named-block.md shows one, byte for byte.
#pragma once

#include "zarlib/export.h"

#include <new>
#include <string>

/// The stamp that every object of a named block begins with: 8 bytes, a storage format.
///
///     offset 0   4 bytes   signed   total size of the block in bytes
///     offset 4   4 bytes   signed   version of the layout
class ZAR_API ipcObjectHeader {
public:
  /// Does nothing: the words are whatever the block held, until InitHeader().
  ipcObjectHeader();

  /// Stamps the block; the constructor of the block's object calls it. @return 1, always.
  int InitHeader(int size, int version);

  /// @param name  Not used.
  /// @return 1 when both words match, else 0.
  int AssertHeader(const std::string &name, int size, int version) const;

private:
  int m_size;
  int m_version;
};

static_assert(sizeof(ipcObjectHeader) == 8, "a storage format");

/// Opens the block of a name, and constructs a T in it if this opener made the block.
///
/// MapFile and Mutex are chMapFile_Local with chMutex_Local (the block is this process's), or chMapFile with chMutex (the block
/// is the session's; T must then hold no address and own nothing outside the block).
///
///                         closed              open
///     OpenShareObject     opens, or refuses   REQUIRES: not called
///     CloseShareObject    nothing             closed; the last one frees the block as raw memory
///     getObject           REQUIRES: not called   the object
///     destructor          nothing             as CloseShareObject
///
/// No destructor of T is ever run: what a T owns outside its block is abandoned when the block goes. The mutex is the lock of
/// all that the block holds; it is not to be nested. One thread at a time opens or closes a frame.
template <class T, class MapFile, class Mutex>
class ipcObjectFrame {
public:
  ipcObjectFrame() = default;
  ipcObjectFrame(const ipcObjectFrame &) = delete;
  ipcObjectFrame &operator=(const ipcObjectFrame &) = delete;
  ~ipcObjectFrame() { CloseShareObject(); }

  /// Opens mutex and block under the one name; waits without limit for another opener to finish its construction.
  /// @param size  Bytes of the block, should it be new. One that T does not fit in is refused to the creator.
  /// @return 1; or 0 with mutex and block closed again, as they are when T's constructor throws.
  int OpenShareObject(const std::string &name, int size) {
    if (!m_mutex.OpenMutexA(name)) return 0;
    const opening turn(*this);
    return OpenMapFileObject(name, size);
  }

  /// Lets go of the block, under the mutex, then of the mutex.
  /// REQUIRES: this thread does not hold the mutex.
  void CloseShareObject() {
    if (!m_object) return;
    m_mutex.Lock(-1);
    m_mapFile.CloseMapFile();
    m_object = nullptr;
    m_mutex.Unlock();
    m_mutex.CloseMutex();
  }

  /// CloseShareObject() by the members' other names.
  void DestroyShareObject() {
    if (!m_object) return;
    m_mutex.Lock(-1);
    m_mapFile.DestroyMapFile();
    m_object = nullptr;
    m_mutex.Unlock();
    m_mutex.DestroyMutex();
  }

  T &getObject() { return *m_object; }

protected:
  /// How the library's own singletons open their blocks: OpenShareObject(), then a look at the stamp.
  void open_stamped(const std::string &name, int size, int version) {
    // Settled, callers rely on it: a block with another stamp is used as it is, and not reported.
    if (OpenShareObject(name, size)) static_cast<void>(m_object->AssertHeader(name, size, version));
  }

  Mutex m_mutex;
  MapFile m_mapFile;
  T *m_object = nullptr; // null while closed

private:
  /// Holds the mutex while the frame opens. One that came to no object, be it by an exception, is closed before anybody else looks.
  class opening {
  public:
    explicit opening(ipcObjectFrame &opened) : m_frame(opened) { m_frame.m_mutex.Lock(-1); }
    opening(const opening &) = delete;
    opening &operator=(const opening &) = delete;
    ~opening() {
      if (!m_frame.m_object) m_frame.m_mapFile.CloseMapFile();
      m_frame.m_mutex.Unlock();
      if (!m_frame.m_object) m_frame.m_mutex.CloseMutex();
    }

  private:
    ipcObjectFrame &m_frame;
  };

  /// Opens the block and, as its creator, constructs the object. REQUIRES: the mutex is held.
  int OpenMapFileObject(const std::string &name, int size) {
    void *const block = m_mapFile.OpenMapFile(name, size);
    const bool fits = size >= 0 && static_cast<unsigned>(size) >= sizeof(T);
    if (!block || (m_mapFile.IsCreateByMe() && !fits)) return 0;
    if (!m_mapFile.IsCreateByMe()) {
      m_object = static_cast<T *>(block);
      return 1;
    }
    m_object = new (block) T();
    m_mapFile.Flush();
    return 1;
  }
};
