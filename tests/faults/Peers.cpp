#include "faults/Peers.hpp"

#include "faults/Archives.hpp"
#include "faults/Checker.hpp"
#include "support/Supervisor.hpp"

#include <functional>
#include <memory>

namespace orv::test {
namespace {

std::vector<std::string> below(const Url& root, const std::vector<std::string>& command)
{
    std::vector<std::string> arguments;
    for (const std::string& argument : command)
        arguments.push_back(argument.starts_with('@') ? root.appending(argument.substr(1)).path()
                                                      : argument);
    return arguments;
}

bool is_hidden(const std::string& path)
{
    return path.compare(path.rfind('/') + 1, 1, ".") == 0;
}

} // namespace

Tally sweep_peer(const FaultCase& request, const std::vector<std::string>& command)
{
    const auto make_trial = [&]() -> std::function<Trial(long)> {
        return [&, place = std::make_shared<SiteOfCase>(request)](long at) {
            const Site* site = &place->site;
            place->site.reset();
            const Supervision ending = supervise(below(site->root(), command), site->root().path(),
                                                 {.kind = Fault::Kind::kill, .at = at});
            Snapshot items = site->items();
            recognise_archive(request, items, Strictness::content);
            std::erase_if(items, [&](const auto& entry) {
                return is_hidden(entry.first) && !request.before.items.contains(entry.first);
            });
            auto problems = wrong_items(request, items, Strictness::content);
            for (const std::string& problem : wrong_order(request, items, Strictness::content))
                problems.push_back(problem);
            return Trial{!ending.hit.empty(), ending.hit, problems};
        };
    };
    return sweep(make_trial);
}

} // namespace orv::test
