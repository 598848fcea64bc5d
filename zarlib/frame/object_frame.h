// ipcObjectFrame and ipcObjectHeader: one object of a fixed layout at the start of a named block.
//
// Everyone who opens a name sees the same object, and exactly one opener constructs it: the creator of the block, under
// the mutex of the same name, before anybody else can see it. Links inside the block are self-relative
// (list_chain_offset, share_pointer, basePoolAlloc), so the block works at any address. docs/formats/named-block.md
// shows one byte for byte.
#pragma once

#include "zarlib/export.h"

#include <new>
#include <string>

/// The stamp at the start of every named block's object: 8 bytes, a storage format.
///
///     offset 0   4 bytes   signed   total size of the block in bytes
///     offset 4   4 bytes   signed   version of the layout
class ZAR_API ipcObjectHeader {
public:
  /// Does nothing: the words hold whatever the block held, until InitHeader().
  ipcObjectHeader();

  /// Stamps the block; called by the constructor of the block's object. @return 1, always.
  int InitHeader(int size, int version);

  /// @param name  Not used.
  /// @return 1 when both words match, else 0.
  int AssertHeader(const std::string &name, int size, int version) const;

private:
  int m_size;
  int m_version;
};

static_assert(sizeof(ipcObjectHeader) == 8, "a storage format");

/// Opens a named block, and constructs a T in it if this opener created the block.
///
/// MapFile and Mutex are chMapFile_Local with chMutex_Local (a block of this process), or chMapFile with chMutex (a
/// block of the session; T must then hold no absolute address and own nothing outside the block).
///
///                         closed              open
///     OpenShareObject     opens, or refuses   REQUIRES: not called
///     CloseShareObject    nothing             closes; the last one frees the block as raw memory
///     getObject           REQUIRES: not called   the object
///     destructor          nothing             like CloseShareObject
///
/// T's destructor never runs: what a T owns outside its block is leaked when the block goes. The mutex guards
/// everything in the block; it is not recursive. Open and close a frame from one thread at a time.
template <class T, class MapFile, class Mutex>
class ipcObjectFrame {
public:
  ipcObjectFrame() = default;
  ipcObjectFrame(const ipcObjectFrame &) = delete;
  ipcObjectFrame &operator=(const ipcObjectFrame &) = delete;
  ~ipcObjectFrame() { CloseShareObject(); }

  /// Opens mutex and block under the same name; waits without limit for another opener to finish constructing.
  /// @param size  Bytes of a new block. A creator whose size is too small for T is refused.
  /// @return 1; or 0 with mutex and block closed again, as also when T's constructor throws.
  int OpenShareObject(const std::string &name, int size) {
    if (!m_mutex.OpenMutexA(name)) return 0;
    const opening turn(*this);
    return OpenMapFileObject(name, size);
  }

  /// Releases the block, under the mutex, then the mutex.
  /// REQUIRES: this thread does not hold the mutex.
  void CloseShareObject() {
    if (!m_object) return;
    m_mutex.Lock(-1);
    m_mapFile.CloseMapFile();
    m_object = nullptr;
    m_mutex.Unlock();
    m_mutex.CloseMutex();
  }

  /// CloseShareObject() through the members' Destroy functions.
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
  /// How the library's own singletons open their blocks: OpenShareObject(), then a check of the stamp.
  void open_stamped(const std::string &name, int size, int version) {
    // Settled, callers rely on it: a stamp mismatch is neither refused nor reported.
    if (OpenShareObject(name, size)) static_cast<void>(m_object->AssertHeader(name, size, version));
  }

  Mutex m_mutex;
  MapFile m_mapFile;
  T *m_object = nullptr; // null while closed

private:
  /// Holds the mutex while the frame opens. If opening yields no object, even by an exception, closes before anybody
  /// else can see it.
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
