#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "frame/File.h"

namespace kestrane {

/// What a file dialog shows when it opens.
struct DialogRequest {
    std::string title;
    std::string directory;  ///< initial folder; empty for the process's own
    std::string name;       ///< initial name; empty for an open dialog
    std::string extension;  ///< default extension; empty for an open dialog
};

/// Shows a dialog; the name chosen, or nothing if the user cancels.
using FileDialog = std::function<std::optional<std::string>(const DialogRequest&)>;

/// The file dialogs of the platform. Here there are none: each reports that it was cancelled. An
/// open dialog is to require an existing file; a save dialog is to require an existing path and
/// to ask before a file is overwritten. Both hide the read-only box and can be sized.
struct FileDialogs {
    FileDialog open;
    FileDialog save;
};
FileDialogs& file_dialogs();

/// The longest name that a dialog takes or gives.
inline constexpr std::size_t MAX_DIALOG_NAME = 1023;

/// Folder and name that a save dialog proposes: beside `templateFile`; without one beside the file
/// last saved by a dialog, the report, or the primary input, the first of them that there is.
DialogRequest propose_save(std::string_view title, std::string_view extension,
                           const File* templateFile);

}  // namespace kestrane
