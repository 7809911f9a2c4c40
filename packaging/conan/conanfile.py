import os

from conan import ConanFile
from conan.errors import ConanInvalidConfiguration
from conan.tools.build import check_min_cppstd
from conan.tools.cmake import CMake, CMakeToolchain, cmake_layout
from conan.tools.files import copy, get, rmdir
from conan.tools.scm import Version

required_conan_version = ">=2.1"


class DataProcessingConan(ConanFile):
    name = "dataprocessing"
    description = "Numerical processing of calibrated one- and two-dimensional data"
    license = "BSD-3-Clause"
    topics = ("numerics", "spectra", "images", "fft", "curve-fitting")

    package_type = "library"
    settings = "os", "arch", "compiler", "build_type"
    options = {"shared": [True, False], "fPIC": [True, False]}
    default_options = {"shared": False, "fPIC": True}
    implements = ["auto_shared_fpic"]

    def layout(self):
        cmake_layout(self, src_folder="src")

    def validate(self):
        check_min_cppstd(self, 20)
        if self.settings.os != "Linux":
            raise ConanInvalidConfiguration(f"{self.ref} is for Linux")
        minimum = {"gcc": "12", "clang": "14"}.get(str(self.settings.compiler))
        if minimum is None or Version(self.settings.compiler.version) < minimum:
            raise ConanInvalidConfiguration(f"{self.ref} is compiled by gcc 12 or clang 14, or later ones")

    def build_requirements(self):
        self.tool_requires("cmake/[>=3.25 <5]")

    def source(self):
        get(self, **self.conan_data["sources"][self.version], strip_root=True)

    def generate(self):
        toolchain = CMakeToolchain(self)
        for part in ("TESTS", "BENCH", "EXAMPLES"):
            toolchain.cache_variables[f"DATAPROCESSING_{part}"] = False
        toolchain.cache_variables["DATAPROCESSING_INSTALL"] = True
        toolchain.generate()

    def build(self):
        cmake = CMake(self)
        cmake.configure()
        cmake.build()

    def package(self):
        copy(self, "LICENSE", src=self.source_folder, dst=os.path.join(self.package_folder, "licenses"))
        CMake(self).install()
        # Conan writes its own from package_info.
        rmdir(self, os.path.join(self.package_folder, "lib", "cmake"))
        rmdir(self, os.path.join(self.package_folder, "lib", "pkgconfig"))

    def package_info(self):
        self.cpp_info.set_property("cmake_file_name", "DataProcessing")
        self.cpp_info.set_property("cmake_target_name", "DataProcessing::DataProcessing")
        self.cpp_info.set_property("pkg_config_name", "DataProcessing")
        self.cpp_info.libs = ["DataProcessing"]
        self.cpp_info.system_libs = ["m"]
        if not self.options.shared:
            self.cpp_info.defines = ["DATAPROCESSING_STATIC_DEFINE"]
