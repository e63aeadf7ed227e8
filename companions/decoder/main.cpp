#include "decoder/Limits.hpp"
#include "decoder/Reading.hpp"
#include "decoder/Serving.hpp"
#include "picture/DecoderProtocol.hpp"

#include <orv/utility/Error.hpp>

#include <cstdlib>
#include <iostream>
#include <optional>

#include <fcntl.h>

namespace orv::decoder {
namespace {

/// Confines the process for hostile files; returns the reason if it cannot.
std::optional<Error> prepare(Medium medium)
try {
    limit_process();
    prepare_reading(medium);
    confine_process();
    return std::nullopt;
} catch (const Error& error) {
    return error;
}

} // namespace
} // namespace orv::decoder

int main(int argc, char** argv)
{
    if (argc != 2 || ::fcntl(orv::picture::decoder_lifeline, F_GETFD) < 0) {
        std::cerr << "This program is started by the library; it does nothing by itself.\n";
        return 2;
    }
    const auto medium = static_cast<orv::Medium>(std::atoi(argv[1]));
    const auto fault = orv::decoder::prepare(medium);
    orv::decoder::serve(medium, fault);
    return 0;
}
