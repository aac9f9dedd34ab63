// Nothing of APR may reach an application.
#if !__has_include(<zukel.h>) || __has_include(<apr.h>)
#error "other headers than the library's own can be included"
#endif

#include <zukel.h>

// Uses APR inside, so that an archive without it does not link.
zuString TemporaryDirectory() {
    return kelLibrary().GetTempDir();
}
