# Tool chain file: Linux on another processor, by Debian's cross compilers and its packages for that processor.
# The variable ZUKEL_TRIPLET of the environment names it as those do: aarch64-linux-gnu.
set(CMAKE_SYSTEM_NAME Linux)
string(REGEX MATCH "^[^-]+" CMAKE_SYSTEM_PROCESSOR "$ENV{ZUKEL_TRIPLET}")
set(CMAKE_C_COMPILER $ENV{ZUKEL_TRIPLET}-gcc)
set(CMAKE_CXX_COMPILER $ENV{ZUKEL_TRIPLET}-g++)
# pkg-config would answer for the machine that builds.
set(ENV{PKG_CONFIG_LIBDIR} /usr/lib/$ENV{ZUKEL_TRIPLET}/pkgconfig:/usr/share/pkgconfig)
