"""Builds the checkout in which this recipe stands."""

import os

from conan import ConanFile
from conan.tools.build import check_min_cppstd
from conan.tools.cmake import CMake, CMakeDeps, CMakeToolchain, cmake_layout
from conan.tools.files import copy, rmdir
from conan.tools.gnu import PkgConfigDeps

required_conan_version = ">=2.0"


class ZukelRecipe(ConanFile):
    name = "zukel"
    version = "1.1.0"
    description = "Operating-system abstraction over the Apache Portable Runtime"
    package_type = "library"
    settings = "os", "arch", "compiler", "build_type"
    options = {"shared": [True, False]}
    default_options = {"shared": True}

    def export_sources(self):
        root = os.path.join(self.recipe_folder, os.pardir, os.pardir)
        for pattern in ("CMakeLists.txt", "*.md", "cmake/*", "examples/*", "include/*", "packaging/*", "src/*"):
            copy(self, pattern, root, self.export_sources_folder, excludes="build/*")

    def layout(self):
        cmake_layout(self)

    def requirements(self):
        self.requires("apr/[>=1.7 <2]")

    def build_requirements(self):
        self.tool_requires("cmake/[>=3.25]")
        self.tool_requires("pkgconf/[>=1.8]")

    def validate(self):
        check_min_cppstd(self, 17)

    def generate(self):
        toolchain = CMakeToolchain(self)
        toolchain.cache_variables["ZUKEL_TESTS"] = False
        toolchain.cache_variables["ZUKEL_EXAMPLES"] = False
        toolchain.cache_variables["BUILD_SHARED_LIBS"] = bool(self.options.shared)
        toolchain.generate()
        CMakeDeps(self).generate()
        PkgConfigDeps(self).generate()

    def build(self):
        cmake = CMake(self)
        cmake.configure()
        cmake.build()

    def package(self):
        CMake(self).install()
        copy(self, "copyright", os.path.join(self.source_folder, "packaging"),
             os.path.join(self.package_folder, "licenses"))
        # Conan writes its own.
        for folder in ("lib/cmake", "lib/pkgconfig", "share"):
            rmdir(self, os.path.join(self.package_folder, folder))

    def package_info(self):
        self.cpp_info.set_property("cmake_file_name", "zukel")
        self.cpp_info.set_property("cmake_target_name", "zukel::zukel")
        self.cpp_info.set_property("pkg_config_name", "zukel")
        self.cpp_info.includedirs = ["include/zukel"]
        self.cpp_info.libs = ["zukel"]
        if not self.options.shared:
            self.cpp_info.defines = ["ZUKEL_STATIC"]
            if self.settings.os in ("Linux", "FreeBSD"):
                self.cpp_info.system_libs = ["pthread"]
