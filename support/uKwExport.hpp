// The export marks of the library. Hidden visibility is the default everywhere; what carries DEFTMAPI_API is the
// interface.
#pragma once

#if defined(_WIN32) && !defined(DEFTMAPI_STATIC)
#if defined(DEFTMAPI_BUILDING)
#define DEFTMAPI_API __declspec(dllexport)
#else
#define DEFTMAPI_API __declspec(dllimport)
#endif
#elif defined(_WIN32)
#define DEFTMAPI_API
#else
#define DEFTMAPI_API __attribute__((visibility("default")))
#endif
