#include "platform/Adapters.h"

namespace station {

namespace {

/// This system keeps no registry: every value is missing.
class NoRegistry final : public Registry {
public:
    bool present() const override { return false; }
    std::optional<std::string> localMachineValue(const std::string&, const std::string&) override {
        return std::nullopt;
    }
};

} // namespace

std::unique_ptr<Registry> makeRegistry() {
    return std::make_unique<NoRegistry>();
}

} // namespace station
