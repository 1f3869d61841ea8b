#pragma once
// cpp-httplib does not build cleanly under our warning set; keep its warnings out of our code.
#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wold-style-cast"
#pragma GCC diagnostic ignored "-Wshadow"
#pragma GCC diagnostic ignored "-Wpedantic"
#pragma GCC diagnostic ignored "-Wunused-parameter"
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"
#endif
#include <httplib.h>
#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif
