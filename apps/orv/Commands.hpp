#pragma once

#include "CommandLine.hpp"

namespace orv::app {

/// How a command may use the terminal.
struct Surroundings {
    bool shows_progress = false;
    bool can_ask = false;
    bool is_quiet = false;
};

/// Each carries one command out.
///
/// Threading: main thread.
/// Errors: `Error` for a failure, `Interrupted`, and those of `LargeOutput`.
void run(const ListCommand& command, const Surroundings& surroundings);
void run(const FindCommand& command, const Surroundings& surroundings);
void run(const ProtectedCommand& command, const Surroundings& surroundings);
void run(const FolderSizeCommand& command, const Surroundings& surroundings);
void run(const TransferCommand& command, const Surroundings& surroundings);
void run(const RenameCommand& command, const Surroundings& surroundings);
void run(const WriteCommand& command, const Surroundings& surroundings);
void run(const ZipCommand& command, const Surroundings& surroundings);
void run(const UnzipCommand& command, const Surroundings& surroundings);
void run(const ThumbCommand& command, const Surroundings& surroundings);
void run(const RemoveCommand& command, const Surroundings& surroundings);
void run(const TrashCommand& command, const Surroundings& surroundings);
void run(const UndoCommand& command, const Surroundings& surroundings);
void run(const MakeFolderCommand& command, const Surroundings& surroundings);
void run(const ExamplesCommand& command, const Surroundings& surroundings);
void run(const GetAttributesCommand& command, const Surroundings& surroundings);
void run(const SetAttributesCommand& command, const Surroundings& surroundings);

} // namespace orv::app
