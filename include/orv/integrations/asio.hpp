#pragma once

#include <orv/integrations/BasicAsioAttachment.hpp>

#include <asio/posix/stream_descriptor.hpp>

namespace orv {

/// Runs the main queue's closures in an `asio::io_context`.
///
///     asio::io_context context;
///     const orv::AsioAttachment attachment(context);
///     context.run();
using AsioAttachment = BasicAsioAttachment<asio::posix::stream_descriptor>;

} // namespace orv
