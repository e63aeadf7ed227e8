#include "picture/Libpng.hpp"
#include "picture/Turbojpeg.hpp"

namespace orv::picture {

const char libpng_file[] = ORV_LIBPNG;
const char turbojpeg_file[] = ORV_TURBOJPEG;

} // namespace orv::picture
