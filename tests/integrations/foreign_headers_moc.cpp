#include "foreign_headers_moc.hpp"
