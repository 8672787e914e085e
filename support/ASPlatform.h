#pragma once

// Where the library looks on this system, and how a program (or a test) points it elsewhere.
// Any thread may call any function; null always restores the default. Texts are copied.

/// Folder of the program's resources. Default: "../share/<program>" beside the folder of the
/// executable when that is a folder, otherwise "Resources" in the folder of the executable.
void ASSetResourceFolder(const char* folder);
/// The folder in force, without a trailing '/'. Valid until the thread's next call.
const char* ASGetResourceFolder();

/// Root of the kernel's device tree, asked for optical media. Default: "/sys".
void ASSetSystemFolder(const char* folder);

/// Release text of the system ("6.1.0-18-amd64") that stands for its version. Default: the
/// kernel's own.
void ASSetSystemRelease(const char* release);
