// A folder in the place of "/": the system's services as they would answer on that disk.
#pragma once

#include <memory>
#include <string>

#include "platform/code_signing.h"
#include "platform/directory_reader.h"

namespace vestigo {

/// Opens the folders of `disk` (an absolute path without a trailing slash) under their paths on it.
[[nodiscard]] std::shared_ptr<DirectoryReader> demoDirectoryReader(
    std::shared_ptr<DirectoryReader> real, std::string disk);

/// Answers from the files of `disk`, except for some items of the demonstration tree: it plays
/// their makers, and the maker of the system, whose signatures nobody else can give.
[[nodiscard]] std::shared_ptr<CodeSigning> demoCodeSigning(std::shared_ptr<CodeSigning> real,
                                                           std::string disk);

}  // namespace vestigo
