#pragma once

#include "Operations/transfer/Standing.hpp"
#include "Operations/transfer/TransferRequest.hpp"

#include <orv/Operations/TransferOpr.hpp>

#include <condition_variable>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace orv {

/// Where the answer to a question arrives. It outlives the question.
class TransferQuestion::Slot {
public:
    struct Reply {
        Answer answer;
        bool for_all;
        std::string new_name; ///< empty unless the answer is another name
    };

    /// Gives the answer, unless there is one.
    ///
    /// Threading: any.
    void give(Reply reply);

    /// Waits for the answer.
    Reply wait();

private:
    std::mutex mutex_;
    std::condition_variable given_;
    std::optional<Reply> reply_;
};

/// The decision on an item with a taken name.
struct TakenChoice {
    enum class Way { merge, replace, keep_both, other_name, skip, leave_unchanged } way;
    std::string new_name = {}; ///< for another name
};

enum class FailureChoice { retry, skip };
enum class ProblemChoice { go_on, leave_out };

/// The questions of one transfer: answered by its policy, by an earlier answer for all, or by the
/// caller.
///
/// Threading: background. Waits for the caller's answer.
/// Cancel: a cancel meanwhile, and the answer to stop, throw `Exception`.
class TransferQuestions {
public:
    TransferQuestions(TransferRequest& request, const TransferPolicy& policy)
        : request_(request), policy_(policy)
    {
    }

    /// Errors: `TransferEnd` if the policy is to stop; an error for a file and a folder of one
    /// name, if the policy is about files.
    TakenChoice settle(const TakenName& taken);

    /// Errors: `TransferEnd` if the policy is to stop; also if it is to skip, and the volume is
    /// gone.
    FailureChoice settle(const Url& item, const Error& error);

    /// Errors: `TransferEnd` with the first one, if the policy is to stop.
    ProblemChoice settle(const std::vector<TransferProblem>& problems);

private:
    enum class Kind { folders, files, file_and_folder, failure, problems };
    using Answer = TransferQuestion::Answer;

    std::optional<TakenChoice> answered_by_policy(const TakenName& taken) const;
    TransferQuestion::Slot::Reply reply_to(Kind kind,
                                           const FunctionRef<void(TransferQuestion&)>& describe,
                                           TransferQuestion::About about);
    TransferQuestion::Slot::Reply ask(const FunctionRef<void(TransferQuestion&)>& describe,
                                      TransferQuestion::About about);

    TransferRequest& request_;
    const TransferPolicy& policy_;
    std::map<Kind, Answer> for_all_;
};

} // namespace orv
