// Requests in a Boost.Asio application: one line attaches the main queue to an io_context.
#include "LoopTour.hpp"

#include <orv/integrations/boost_asio.hpp>

#include <boost/asio/io_context.hpp>

namespace {

/// Runs the loop until it is stopped; says how many closures threw out of it.
int run_to_the_end(boost::asio::io_context& context)
{
    int caught = 0;
    while (!context.stopped()) {
        try {
            context.run();
        } catch (const std::runtime_error&) {
            ++caught;
        }
    }
    return caught;
}

} // namespace

int main()
{
    boost::asio::io_context context;
    const orv::BoostAsioAttachment attachment(context);

    const orv::example::LoopTour tour([&] { context.run_one(); }, [&] { context.stop(); });
    const int caught = run_to_the_end(context);
    return tour.is_complete() && caught == 1 ? 0 : 1;
}
