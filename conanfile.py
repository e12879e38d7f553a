"""Recipe for Conan 2 that packages what `cmake --install` does. Prepared, not run by anybody here:
conan create . --build=missing
"""
import re

from conan import ConanFile
from conan.tools.cmake import CMake, CMakeDeps, CMakeToolchain, cmake_layout
from conan.tools.files import copy, load


class Morvel(ConanFile):
    name = "morvel"
    description = "Base services for C++17 applications on Linux and 64-bit Windows"
    license = "Apache-2.0"
    homepage = "https://morvel.example"
    package_type = "shared-library"
    settings = "os", "arch", "compiler", "build_type"
    requires = "poco/[>=1.11 <2]", "libcurl/[>=7.88 <9]", "pugixml/[>=1.13 <2]", "utf8proc/[>=2.8 <3]"
    exports_sources = "CMakeLists.txt", "LICENSE", "cmake/*", "debugger/*", "morvel/*", "packaging/*"

    def set_version(self):
        header = load(self, f"{self.recipe_folder}/morvel/version.h")
        self.version = re.search(r'MORVEL_VERSION "(.+)"', header).group(1)

    def layout(self):
        cmake_layout(self)

    def generate(self):
        CMakeDeps(self).generate()
        toolchain = CMakeToolchain(self)
        toolchain.cache_variables["MORVEL_TESTS"] = False
        toolchain.cache_variables["MORVEL_EXAMPLES"] = False
        toolchain.generate()

    def build(self):
        cmake = CMake(self)
        cmake.configure()
        cmake.build()

    def package(self):
        copy(self, "LICENSE", src=self.source_folder, dst=f"{self.package_folder}/licenses")
        CMake(self).install()

    def package_info(self):
        self.cpp_info.set_property("cmake_find_mode", "none")  # the library brings its own package
        self.cpp_info.builddirs = ["lib/cmake/Morvel"]
        self.cpp_info.libs = ["morvel"]
