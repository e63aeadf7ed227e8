#include "Operations/transfer/TransferMeasure.hpp"

#include "Operations/transfer/TransferProblems.hpp"
#include "files/FreeSpace.hpp"
#include "files/ItemStatus.hpp"
#include "files/Place.hpp"
#include "files/TreeWalk.hpp"

#include <algorithm>
#include <cstdint>

namespace orv {
namespace {

using OnConflict = TransferPolicy::OnConflict;

class Measuring {
public:
    explicit Measuring(TransferRun& run)
        : run_(run), folder_(facts_of(run.folder)), problems_(run.finish.traits())
    {
    }

    void look_at(const TransferSource& source)
    try {
        run_.request.check_cancelled();
        if (source.refusal)
            return problems_.add(source.url, *source.refusal);
        const ItemFacts facts = facts_of(source.url);
        problems_.look_at(source.new_name, facts, [&] { return source.url; });
        const bool is_here = facts.stx_dev_major == folder_.stx_dev_major &&
                             facts.stx_dev_minor == folder_.stx_dev_minor;
        if (is_here && run_.plan.kind == TransferPlan::Kind::move)
            return static_cast<void>(++items_); // a rename moves it
        shares_all_ = shares_all_ && is_here;
        count(facts);
        if (S_ISDIR(facts.stx_mode))
            look_into(source.url);
    } catch (const Error&) {
        return; // the transfer meets that failure itself
    }

    const std::vector<TransferProblem>& problems()
    {
        run_.meter.expect(items_, bytes_);
        const bool takes_no_room = shares_all_ && shares_blocks(run_.folder);
        if (!takes_no_room && !may_leave_most())
            problems_.check_room(run_.folder, needed_);
        return problems_.found();
    }

private:
    static ItemFacts facts_of(const Url& url)
    {
        const Place place = Place::of(url);
        return item_facts(place.folder(), place.name(), url);
    }

    void look_into(const Url& folder)
    {
        TreeWalk walk(folder);
        for (auto event = walk.next(); event != TreeWalk::Event::end; event = walk.next())
            switch (event) {
            case TreeWalk::Event::item:
                run_.request.check_cancelled();
                problems_.look_at(walk.name(), walk.facts(), [&] { return Url(walk.path()); });
                count(walk.facts());
                break;
            case TreeWalk::Event::entered:
                problems_.enter();
                break;
            case TreeWalk::Event::left:
                problems_.leave();
                break;
            case TreeWalk::Event::end:
                break;
            }
    }

    void count(const ItemFacts& facts)
    {
        constexpr std::int64_t bytes_a_block = 512; // the unit of stx_blocks
        ++items_;
        if (!S_ISREG(facts.stx_mode))
            return;
        const auto size = static_cast<std::int64_t>(facts.stx_size);
        bytes_ += size;
        // A sparse file needs less than its size.
        needed_ += std::min(size, static_cast<std::int64_t>(facts.stx_blocks) * bytes_a_block);
    }

    /// A policy for a destination with most of the items already: nobody can tell how much is
    /// missing.
    [[nodiscard]] bool may_leave_most() const
    {
        const OnConflict policy = run_.plan.policy.on_conflict;
        return policy == OnConflict::replace_if_older || policy == OnConflict::skip_if_equal ||
               policy == OnConflict::merge || policy == OnConflict::skip;
    }

    TransferRun& run_;
    const ItemFacts folder_;
    TransferProblems problems_;
    bool shares_all_ = true; // all sources lie on the destination's volume
    std::int64_t items_ = 0;
    std::int64_t bytes_ = 0;
    std::int64_t needed_ = 0; // bytes on the medium
};

/// Leaves out the sources that cannot be transferred.
void leave_out_refused(TransferRun& run, std::vector<TransferSource>& sources)
{
    std::erase_if(sources, [&](const TransferSource& source) {
        const Error* refusal = run.refusal_of(source.url);
        if (!refusal)
            return false;
        run.log.leave_out(source.index, source.url, *refusal);
        run.log.end(source.index, TransferReport::Outcome::failed);
        return true;
    });
}

} // namespace

std::vector<TransferSource> measured(TransferRun& run, std::vector<TransferSource> sources)
{
    Measuring measuring(run);
    for (const TransferSource& source : sources)
        measuring.look_at(source);
    const std::vector<TransferProblem>& problems = measuring.problems();
    const bool leaves_out =
        !problems.empty() && run.questions.settle(problems) == ProblemChoice::leave_out;
    for (const TransferProblem& problem : problems)
        if (leaves_out)
            run.refused.emplace(problem.item.path(), problem.error);
    // Leaves out items harmful to themselves or others, whatever the answer.
    for (const TransferSource& source : sources)
        if (source.refusal)
            run.refused.emplace(source.url.path(), *source.refusal);
    leave_out_refused(run, sources);
    return sources;
}

} // namespace orv
