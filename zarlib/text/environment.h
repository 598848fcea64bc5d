// Where the application lives, and small services of the process: the last error, ending another process, modules,
// keys.
//
// Paths are UTF-8. The application root and the document path are written with slashes; the others stand as the system
// gave them.
#pragma once

#include "zarlib/export.h"

#include <memory>
#include <string>

namespace zar::platform {
class keyboard;
}

/// The application root: the environment variable APP_ROOT when it is set and not empty, else the parent of the folder
/// that holds the executable (/opt/app for /opt/app/bin/program). Backslashes are written as slashes.
///
/// Built once, at the first call, and never changed; any thread may call. Nothing is created, and nobody tests that it
/// exists.
/// @return Valid until the process ends.
ZAR_API const std::string &appRootPath();
/// @return A copy of appRootPath().
ZAR_API std::string zarGetAppRootPath();

/// @return The document path, below which "/log/" holds logs and crash files; empty until zarSetAppDocPath() gives it a
///         value. Any thread.
ZAR_API std::string zarGetAppDocPath();
/// zarGetAppDocPath() under another name.
ZAR_API std::string zarGetAppDataRootPath();

/// Sets the document path; backslashes are stored as slashes. No folder is created, no trailing separator added. Any
/// thread.
ZAR_API void zarSetAppDocPath(const std::string &path);

/// @return The full path of the running executable. On Windows what is longer than 260 wide characters is cut there.
ZAR_API std::string zarGetExeFileName();

/// @return The variable USERPROFILE. Where it is not set, or empty: on Linux HOME, else the folder of the user's record; on
///         Windows an empty text.
ZAR_API std::string zarGetHomeDirectory();

/// @return The variable "Temp". Where it is not set, or empty: on Linux TMPDIR, else /tmp; on Windows an empty text.
ZAR_API std::string zarGetTempDirectory();

/// @return The current directory; empty when it is gone, and on Windows when it is longer than 259 wide characters.
ZAR_API std::string zarGetCurrentDirectory();

/// Kills, without notice, the first process whose executable has this name, in whatever case of its letters. Others of
/// the name live on.
///
/// The name is the last part of the executable's path, with its extension ("notepad.exe", not "notepad"). The first
/// process of the system's list is passed over: on Windows the idle process, on Linux process 1. On Linux the
/// executables of other users' processes cannot be seen without the right to, and do not match. No process has an empty name.
/// @return Whether a process of that name was met. It may live all the same, where this process had no right to end it.
ZAR_API bool KillProcessAppByName(std::string name);

/// @return The calling thread's last error: GetLastError() on Windows, errno on Linux.
ZAR_API unsigned zarGetLastError();

/// @return The system's text for the last error, without blanks and tabs at its end; a line end that the system put
///         there stays. Empty where the system has no text. The last error stays as it is.
ZAR_API std::string zarTransLastError();

/// A module loaded at run time: a DLL on Windows, a shared object on Linux.
///
///   state    reached by                                   OpenDynamicModule      CloseDynamicModule  GetMethod
///   closed   default constructor, failed opening, close   open, or stays closed  nothing             null
///   open     successful opening                           closes first           closed              address or null
///
/// Objects are copied handle and all, and each destructor closes: only one of two copies may come to that, and another
/// must be emptied by assigning a closed object. One thread at a time.
class ZAR_API chDynamicModule {
public:
  chDynamicModule();

  /// Opens as OpenDynamicModule() does; a failure leaves the object closed.
  explicit chDynamicModule(const std::string &file);

  chDynamicModule(const chDynamicModule &) = default;
  chDynamicModule &operator=(const chDynamicModule &) = default;
  ~chDynamicModule();

  /// Closes what is open, then loads a module.
  /// @param file  A path, or a name to be found by the system's rules, in the system's narrow encoding.
  /// @return 1 when it is loaded, else 0.
  int OpenDynamicModule(const std::string &file);

  /// Gives the module back; addresses taken from it are invalid from then on.
  void CloseDynamicModule();

  /// @return The address of an exported name; null when there is none, or no module is open.
  void *GetMethod(const std::string &name);

private:
  void *m_hModule;
};

/// Single keys from the console, without waiting and without a line to be ended.
///
/// The constructor switches the console's line input off, the destructor puts the mode back that it found. On Linux the
/// terminal on standard input echoes nothing in between, and its interrupt keys still raise their signals. One object,
/// one thread at a time.
class ZAR_API chStdInput {
public:
  chStdInput();
  chStdInput(const chStdInput &) = delete;
  chStdInput &operator=(const chStdInput &) = delete;
  ~chStdInput();

  /// Takes the next key, if one was pressed. Never waits.
  ///
  ///   Backspace, Tab, Escape                          8, 9, 27
  ///   Enter                                           10
  ///   Page Up, Page Down, End, Home                   65313 to 65316
  ///   arrows left, up, right, down                    65317 to 65320
  ///   Insert, Delete                                  65325, 65326
  ///   numeric pad 0 to 9, and * + - . /               the characters
  ///   F1 to F12                                       65392 to 65403
  ///   others                                          virtual key codes: letters as upper case, whatever the shift
  ///
  /// On Linux the codes are those of a US keyboard, and a lone Escape is told from the start of a key's sequence by
  /// what has arrived together with it.
  /// @return The code; -1 without a key, for the release of one, for one without a code, and when standard input is no
  ///         console.
  int getch();

private:
  std::unique_ptr<zar::platform::keyboard> m_keyboard;
};
