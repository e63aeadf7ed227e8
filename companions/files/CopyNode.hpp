#pragma once

#include "files/TransferItems.hpp"

#include <orv/utility/Error.hpp>

#include <sys/stat.h>

namespace orv {

/// Makes a link with the text and the times of the link `source`, and returns the status of the
/// copied link.
///
/// Errors: the platform's, at the source or the destination: EEXIST if the name is taken, ESTALE if
/// `source` is no longer a link.
struct stat copy_link(const SourceItem& source, const DestinationItem& destination);

/// Makes a FIFO or a socket with the mode and the times of `source`, and returns its status. It has
/// no content, so it is complete under its name at once.
///
/// Errors: those of `copy_link`.
struct stat copy_node(const SourceItem& source, const DestinationItem& destination);

/// The error of a link that could not be made at `url`, with a sentence of its own if the volume of
/// the open folder has no links. `code` is the errno.
[[nodiscard]] Error link_error(int code, int folder, const Url& url);

} // namespace orv
