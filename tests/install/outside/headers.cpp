// Nothing of the runtime may reach an application.
#if !__has_include(<zukel.h>) || __has_include(<apr.h>)
#error "other headers than the library's own can be included"
#endif
