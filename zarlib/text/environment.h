// The application's paths, and small process services: the last error, killing another process, modules, keys.
//
// Paths are UTF-8. The application root and the document path use slashes; the others are as the system returns them.
#pragma once

#include "zarlib/export.h"

#include <memory>
#include <string>

namespace zar::platform {
class keyboard;
}

/// The application root: the environment variable APP_ROOT if set and not empty, otherwise the parent of the directory
/// that holds the executable (/opt/app for /opt/app/bin/program). Backslashes are converted to slashes.
///
/// Computed once, on the first call, and never changed; any thread may call. Nothing is created, and existence is not
/// checked.
/// @return A reference valid until the process ends.
ZAR_API const std::string &appRootPath();
/// @return A copy of appRootPath().
ZAR_API std::string zarGetAppRootPath();

/// @return The document path, whose "/log/" holds logs and crash files; empty until zarSetAppDocPath() sets it. Any
///         thread.
ZAR_API std::string zarGetAppDocPath();
/// Same as zarGetAppDocPath().
ZAR_API std::string zarGetAppDataRootPath();

/// Sets the document path; backslashes are stored as slashes. No directory is created, no trailing separator added. Any
/// thread.
ZAR_API void zarSetAppDocPath(const std::string &path);

/// @return The full path of the running executable. On Windows it is truncated after 260 wide characters.
ZAR_API std::string zarGetExeFileName();

/// @return The variable USERPROFILE. If unset or empty: on Linux HOME, else the home directory in the user database; on
///         Windows an empty text.
ZAR_API std::string zarGetHomeDirectory();

/// @return The variable "Temp". If unset or empty: on Linux TMPDIR, else /tmp; on Windows an empty text.
ZAR_API std::string zarGetTempDirectory();

/// @return The current directory; empty if it no longer exists, and on Windows if it is longer than 259 wide
///         characters.
ZAR_API std::string zarGetCurrentDirectory();

/// Kills, without warning, the first process whose executable has this name, ignoring case. Others of the same name are
/// left alone.
///
/// The name is the last part of the executable's path, with its extension ("notepad.exe", not "notepad"). The first
/// process in the system's list is skipped: the idle process on Windows, process 1 on Linux. On Linux the executables
/// of other users' processes cannot be read without permission, and do not match. No process has an empty name.
/// @return Whether a process of that name was found. It may survive if this process has no right to kill it.
ZAR_API bool KillProcessAppByName(std::string name);

/// @return The calling thread's last error: GetLastError() on Windows, errno on Linux.
ZAR_API unsigned zarGetLastError();

/// @return The system's message for the last error, without trailing spaces and tabs; a line end that the system put
///         there stays. Empty if the system has none. The last error is preserved.
ZAR_API std::string zarTransLastError();

/// A module loaded at run time: a DLL on Windows, a shared object on Linux.
///
///   state    reached by                                   OpenDynamicModule      CloseDynamicModule  GetMethod
///   closed   default constructor, failed opening, close   open, or stays closed  nothing             null
///   open     successful opening                           closes first           closed              address or null
///
/// Copies share the handle, and each destructor closes it: only one of two copies may do so, and the other must be
/// emptied by assigning a closed object. One thread at a time.
class ZAR_API chDynamicModule {
public:
  chDynamicModule();

  /// Opens as OpenDynamicModule() does; a failure leaves the object closed.
  explicit chDynamicModule(const std::string &file);

  chDynamicModule(const chDynamicModule &) = default;
  chDynamicModule &operator=(const chDynamicModule &) = default;
  ~chDynamicModule();

  /// Closes any open module, then loads one.
  /// @param file  A path, or a name to be found by the system's search rules, in the system's narrow encoding.
  /// @return 1 when it is loaded, otherwise 0.
  int OpenDynamicModule(const std::string &file);

  /// Unloads the module; addresses obtained from it become invalid.
  void CloseDynamicModule();

  /// @return The address of an exported name; null if there is none or no module is open.
  void *GetMethod(const std::string &name);

private:
  void *m_hModule;
};

/// Single keys from the console, without waiting and without Enter.
///
/// The constructor disables the console's line input, the destructor restores the mode it found. On Linux the terminal
/// on standard input does not echo meanwhile, and its interrupt keys still raise their signals. One object, one thread
/// at a time.
class ZAR_API chStdInput {
public:
  chStdInput();
  chStdInput(const chStdInput &) = delete;
  chStdInput &operator=(const chStdInput &) = delete;
  ~chStdInput();

  /// Takes the next key, if one has been pressed. Never waits.
  ///
  ///   Backspace, Tab, Escape                          8, 9, 27
  ///   Enter                                           10
  ///   Page Up, Page Down, End, Home                   65313 to 65316
  ///   arrows left, up, right, down                    65317 to 65320
  ///   Insert, Delete                                  65325, 65326
  ///   numeric keypad 0 to 9, and * + - . /            the characters
  ///   F1 to F12                                       65392 to 65403
  ///   others                                          virtual key codes: letters as upper case, Shift or not
  ///
  /// On Linux the codes assume a US keyboard, and a lone Escape is distinguished from the start of a key sequence by
  /// whether more bytes arrived with it.
  /// @return The code; -1 if there is no key, for a key release, for a key without a code, and when standard input is
  ///         not a console.
  int getch();

private:
  std::unique_ptr<zar::platform::keyboard> m_keyboard;
};
