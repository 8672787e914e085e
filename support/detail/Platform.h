#pragma once

#include <string>

/// The settings of ASPlatform.h as this library's own code reads them.
std::string ASResourceFolder();
std::string ASSystemFolder();
std::string ASSystemRelease();

/// Home folder: $HOME, or the user database's entry.
std::string ASHomeFolder();
/// An XDG base folder: the environment variable when it holds an absolute path, otherwise
/// `fallback` below the home folder.
std::string ASBaseFolder(const char* variable, const char* fallback);
