#pragma once

#include "zemb/export.h"

#include <string>

// The process's language, and whether it is exiting. Any thread.
namespace zemb {

// Sets the language of the process in place of the environment variable ZEMB_LANG; "": back to it.
ZEMB_API void SetLanguage(const std::string& strLanguage);

// Announces that the process is exiting (or not); ZembIsExit() tells.
ZEMB_API void SetExit(bool bExit);

}  // namespace zemb
