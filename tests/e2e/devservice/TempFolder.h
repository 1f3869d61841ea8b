#pragma once
// A fresh folder per test, removed afterwards.
#include <atomic>
#include <filesystem>
#include <random>
#include <string>

namespace devservice::test {

class TempFolder {
public:
    TempFolder() {
        static std::atomic<int> counter{0};
        std::random_device random;
        m_path = std::filesystem::temp_directory_path() /
                 ("devservice-test-" + std::to_string(random()) + "-" + std::to_string(counter++));
        std::filesystem::create_directories(m_path);
    }
    ~TempFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    const std::filesystem::path& path() const { return m_path; }
    std::string file(const std::string& name) const { return (m_path / name).string(); }

private:
    std::filesystem::path m_path;
};

} // namespace devservice::test
