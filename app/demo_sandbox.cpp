#include "app/demo_sandbox.h"

#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "app/demo_tree.h"

namespace vestigo {

DemoSandbox::DemoSandbox() {
    std::error_code error;
    auto path = (std::filesystem::temp_directory_path(error) / "vestigo-demo-XXXXXX").string();
    if (error || mkdtemp(path.data()) == nullptr) return;
    folder_ = path;
    const auto real = std::filesystem::canonical(path, error).string();
    if (!error && makeDemoTree(real)) disk_ = real;
}

DemoSandbox::~DemoSandbox() {
    std::error_code error;
    if (folder_) std::filesystem::remove_all(*folder_, error);
}

}  // namespace vestigo
