// An XML document in a file, saved so that a crash at any moment leaves the old document or the new one.
#pragma once

#include "zarlib/export.h"
#include "zarlib/xml/xml_document.h"

#include <string>

#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"
#endif

/// A document with the name of its file: a settings store.
///
/// ```cpp
/// chXmlFile file("/home/user/.product/settings.xml");
/// chXmlElement root = file.getChildElement();
/// if (!root.hasData()) root = file.AddChildElement("settings");
/// if (root.SetOption("volume", "11")) file.SaveToFile("");
/// ```
///
/// A save of the file `f` works with two more names beside it, "f.new" and "f.old". What a crash leaves, and what the next load
/// makes of it:
///
/// | Crash                      | On the disk             | LoadFromFile()                                      |
/// |----------------------------|-------------------------|-----------------------------------------------------|
/// | while "f.new" is written   | f, a part of "f.new"    | removes "f.new", loads the old f                    |
/// | after f was moved aside    | "f.old", whole "f.new"  | moves "f.new" to f, removes "f.old", loads the new  |
/// | after "f.new" was moved in | f, "f.old"              | removes "f.old", loads the new f                    |
///
/// A handle, like its bases: copies share the document and have a file name of their own; an object that was moved from keeps the
/// document and loses the name. The destructor does not save. There is no lock: one thread at a time for the document, one process
/// at a time for the file; a load beside another's save takes that save for one that has died.
class ZAR_API chXmlFile : public chXmlDocument {
public:
  /// An empty document, and LoadFromFile() unless `name` is empty; hasChildren() tells whether anything came of it.
  chXmlFile(const std::string &name = std::string());
  chXmlFile(const chXmlFile &other);
  chXmlFile(chXmlFile &&other) noexcept;
  chXmlFile &operator=(const chXmlFile &other);
  chXmlFile &operator=(chXmlFile &&other) noexcept;
  ~chXmlFile();

  /// Completes a save that was cut short, reads the file and makes its document this handle's; earlier handles keep the earlier
  /// one. The name is kept for SaveToFile(), whatever comes of it.
  /// @param name  UTF-8, with slashes.
  /// @return 1 when the document has a child. 0 with an empty document for a file that is absent, empty or malformed; the file itself
  ///         is never changed, and pathFileExist() tells absence from the rest.
  int LoadFromFile(const std::string &name);

  /// Writes ExportToText(false). When it returns, an undisturbed save survives the death of the process, and on Linux a
  /// power cut too; on Windows a power cut just behind it may bring the old document back, whole.
  ///
  /// A file that is there is replaced in the steps above, each only when the disk shows what the one before was to
  /// leave. So a full disk, or any step that the system refuses, leaves the state of a crash in that place, and the next
  /// load finds the old document or the new one. A file that is not there is written directly: there is no old document
  /// to keep, and a crash may leave a part.
  ///
  /// The new file has the owner and rights of the old one, or less where the system refuses; a link is replaced by a
  /// file. A stale "f.old", which LoadFromFile() would have removed, makes the save fail once: load before the first
  /// save.
  ///
  /// Costs the export, two passes over its text, and on Linux three waits for the disk.
  /// @param name  Empty for the name of the last load. The name of the last load stays what it is.
  /// Reports nothing: load again to be sure. A document of more than 2147483647 bytes is not written.
  void SaveToFile(const std::string &name) const;

private:
  std::string m_fileName;
};

#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif
