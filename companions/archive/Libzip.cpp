#include "archive/Libzip.hpp"

namespace orv::archive {

const char libzip_file[] = ORV_LIBZIP;

} // namespace orv::archive
