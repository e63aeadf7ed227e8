#pragma once

#include "Operations/TransferOpr.hpp"
#include "support/Engine.hpp"
#include "support/Statuses.hpp"

#include <functional>
#include <optional>

namespace orv::test {

using Texts = std::vector<std::string>;
using Kind = TransferPlan::Kind;
using Policy = TransferPolicy;
using OnConflict = TransferPolicy::OnConflict;
using Question = TransferQuestion;
using Answer = TransferQuestion::Answer;

inline Url operator/(const Url& folder, std::string_view name)
{
    return folder.appending(name);
}

inline std::string text_of(TransferReport::Outcome outcome)
{
    constexpr const char* texts[] = {"not reached", "done",    "partly done",
                                     "unchanged",   "skipped", "failed"};
    return texts[static_cast<std::size_t>(outcome)];
}

/// The final status and its report, as in "success", "a: done -> in/a", "left out d/x: why".
inline Texts texts_of(const TransferOperation::Status& status, const Url& root)
{
    const auto shown = [&](const Url& url) {
        return relative_path(url, root).value_or(url.path());
    };
    Texts texts;
    const auto add_report = [&](const TransferReport& report) {
        for (const auto& source : report.sources)
            texts.push_back(shown(source.source) + ": " + text_of(source.outcome) +
                            (source.destination ? " -> " + shown(*source.destination) : ""));
        for (const auto& item : report.left_out)
            texts.push_back("left out " + shown(item.item) +
                            (item.error ? ": " + item.error->sentence() : ""));
    };
    match(
        status,
        [&](const TransferOperation::success& s) {
            texts.emplace_back("success");
            add_report(s.report);
        },
        [&](const TransferOperation::error& s) {
            texts.push_back("error: " + s.error.sentence());
            add_report(s.report);
        },
        [&](const TransferOperation::cancelled& s) {
            texts.emplace_back("cancelled");
            add_report(s.report);
        },
        [](const TransferOperation::question&) {}, [](const TransferOperation::finishing&) {},
        [](const status::preparing&) {}, [](const status::progress<TransferProgress>&) {});
    return texts;
}

/// Tests of transfers.
class TransferTest : public EngineTest {
protected:
    using Take = std::function<void(const TransferOperation::Status&)>;

    /// The final status of a transfer, of whose statuses all go to `take`.
    TransferOperation::Status ended(TransferPlan plan, const Take& take = {})
    {
        const auto statuses = statuses_of<TransferOperation>([&](auto closure) {
            return transfer(std::move(plan), [=](const auto& status) {
                closure(status);
                if (take)
                    take(status);
            });
        });
        expect_no_locks();
        return statuses.back();
    }

    /// The same, of which each question is given to `ask`.
    TransferOperation::Status answered(TransferPlan plan, const std::function<void(Question&)>& ask)
    {
        // The statuses are kept by nobody, so that a dropped question is one.
        std::optional<TransferOperation::Status> last;
        const auto operation = transfer(std::move(plan), [&](const auto& status) {
            if (const auto* asked = std::get_if<TransferOperation::question>(&status))
                ask(*asked->question);
            else
                last = status;
        });
        pump_until([&] { return !operation->is_busy(); });
        expect_no_locks();
        return *last;
    }

    static TransferPlan plan_of(Kind kind, std::vector<Url> sources, const Url& folder,
                                const Policy& policy = {})
    {
        return {kind, std::move(sources), folder, {}, policy};
    }
};

} // namespace orv::test
