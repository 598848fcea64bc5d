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
/// Saving the file `f` uses two temporary names beside it, "f.new" and "f.old". What a crash leaves behind, and how the
/// next load recovers:
///
/// | Crash                      | On the disk             | LoadFromFile()                                      |
/// |----------------------------|-------------------------|-----------------------------------------------------|
/// | while "f.new" is written   | f, a part of "f.new"    | removes "f.new", loads the old f                    |
/// | after f was moved aside    | "f.old", whole "f.new"  | moves "f.new" to f, removes "f.old", loads the new  |
/// | after "f.new" was moved in | f, "f.old"              | removes "f.old", loads the new f                    |
///
/// A handle, like its bases: copies share the document but have their own file name; a moved-from object keeps the
/// document and loses the name. The destructor does not save. There is no lock: one thread at a time for the document,
/// one process at a time for the file; a load concurrent with another's save takes it for an interrupted one.
class ZAR_API chXmlFile : public chXmlDocument {
public:
  /// An empty document, then LoadFromFile() unless `name` is empty; hasChildren() tells whether it succeeded.
  chXmlFile(const std::string &name = std::string());
  chXmlFile(const chXmlFile &other);
  chXmlFile(chXmlFile &&other) noexcept;
  chXmlFile &operator=(const chXmlFile &other);
  chXmlFile &operator=(chXmlFile &&other) noexcept;
  ~chXmlFile();

  /// Completes an interrupted save, reads the file and makes its document this handle's; existing handles keep the
  /// previous document. The name is kept for SaveToFile() even on failure.
  /// @param name  UTF-8, with slashes.
  /// @return 1 if the document has a child; 0, with an empty document, if the file is missing, empty or malformed. The
  ///         file itself is never modified; pathFileExist() tells a missing file from the rest.
  int LoadFromFile(const std::string &name);

  /// Writes ExportToText(false). Once it has returned, a successful save survives the death of the process, and on
  /// Linux a power failure too; on Windows a power failure right afterwards may bring back the old document, complete.
  ///
  /// An existing file is replaced in the steps above, each taken only if the disk shows the result of the one before.
  /// So a full disk, or any step that the system refuses, leaves the same state as a crash at that point, and the next
  /// load finds the old document or the new one. A new file is written directly: there is no old document to preserve,
  /// and a crash may leave a partial file.
  ///
  /// The new file gets the owner and permissions of the old one, or fewer if the system refuses; a link is replaced by
  /// a file. A stale "f.old", which LoadFromFile() would have removed, makes the save fail once: load before the first
  /// save.
  ///
  /// Costs the export, two passes over its text, and on Linux three waits for the disk.
  /// @param name  Empty means the name of the last load, which stays unchanged in any case.
  /// Reports no errors: load again to verify. A document of more than 2147483647 bytes is not written.
  void SaveToFile(const std::string &name) const;

private:
  std::string m_fileName;
};

#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif
