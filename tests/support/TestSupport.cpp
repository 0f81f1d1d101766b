#include "TestSupport.h"

#include <cstdlib>
#include <filesystem>
#include <unistd.h>

namespace ZOLAR3D::test {

std::string dataFile(const std::string &relativePath)
{
    const char *overridden = std::getenv("ZOL3D_TEST_DATA");
    const std::filesystem::path root = overridden ? overridden : ZOL3D_TEST_DATA_DIR;
    const std::filesystem::path file = root / relativePath;
    std::error_code error;
    return std::filesystem::is_regular_file(file, error) ? file.string() : std::string();
}

std::string scratchDir(const std::string &name)
{
    const std::filesystem::path dir = std::filesystem::temp_directory_path() / "zol3d_tests" / (name + "_" + std::to_string(::getpid()));
    std::filesystem::remove_all(dir);
    std::filesystem::create_directories(dir);
    return dir.string();
}

} // namespace ZOLAR3D::test
