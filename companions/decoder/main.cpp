#include "decoder/Limits.hpp"
#include "decoder/Reading.hpp"
#include "decoder/Serving.hpp"

#include <iostream>

#include <fcntl.h>

int main()
{
    constexpr int socket = 3;
    if (::fcntl(socket, F_GETFD) < 0) {
        std::cerr << "This program is started by the library; it does nothing by itself.\n";
        return 2;
    }
    orv::decoder::confine_process();
    orv::decoder::prepare_reading();
    orv::decoder::serve();
    return 0;
}
