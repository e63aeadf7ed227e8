#pragma once

#include <orv/integrations/BasicAsioAttachment.hpp>

#include <boost/asio/posix/stream_descriptor.hpp>

namespace orv {

/// Runs the main queue's closures in a `boost::asio::io_context`.
///
///     boost::asio::io_context context;
///     const orv::BoostAsioAttachment attachment(context);
///     context.run();
using BoostAsioAttachment = BasicAsioAttachment<boost::asio::posix::stream_descriptor>;

} // namespace orv
