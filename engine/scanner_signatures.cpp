// The signature passes of the Scanner.
//
// A pass is one background job that reads the signatures of all group roots that have none. Reading
// one may take seconds (a large bundle, a slow disk), so the job spreads its roots over as many
// threads as there are processors. The results reach the main thread in the order of the roots,
// `rootsPerPublication` at a time, so that a window fills from the top and not at random.
//
// Passes may overlap: a scan may end, or the filter may change, while an earlier pass still runs.
// Each pass only adds what it has read, so none undoes another; a root may then be read twice,
// which costs time only. A pass is not stopped by a new scan, only by the end of the Scanner.
//
// Locks: the threads of a pass share `Progress`; its mutex guards everything in it but the atomics.
// Fields of the Scanner are touched on the main thread only.
#include <algorithm>
#include <atomic>
#include <memory>
#include <mutex>
#include <new>
#include <thread>
#include <unordered_map>
#include <utility>

#include "engine/scanner.h"
#include "platform/tasks.h"

namespace vestigo {
namespace {

constexpr std::size_t rootsPerPublication = 40;

}  // namespace

/// The background job of one pass.
class Scanner::SignaturePass {
public:
    SignaturePass(const Scanner& scanner, std::vector<std::string> missing)
        : main_(scanner.services_.main),
          inspect_(scanner.services_.inspect),
          closing_(scanner.closing_),
          scanner_(scanner.anchor_.ref()),
          missing_(std::move(missing)) {}

    void operator()() {
        try {
            inspectAll();
        } catch (const std::bad_alloc&) {
            end();
            throw;
        }
    }

private:
    void inspectAll() {
        const auto processors = std::max(1U, std::thread::hardware_concurrency());
        const auto helpers = std::min<std::size_t>(processors, missing_.size()) - 1;
        Progress progress;
        {
            std::vector<std::unique_ptr<Thread>> threads(helpers);
            for (auto& thread : threads) {
                thread = startThread([&] { inspectSome(progress); }, stackBytes);
            }
            inspectSome(progress);
        }
        if (progress.failed) throw std::bad_alloc();
        if (closing_.cancelled()) return;
        publish(std::move(progress.found));
        end();
    }

    /// The state that the threads of a pass share.
    struct Progress {
        std::atomic<std::size_t> next = 0;  ///< The next root to read, as an index of `missing_`.
        std::atomic<bool> failed = false;   ///< A thread ran out of memory.
        std::mutex mutex;
        std::size_t published = 0;  ///< All roots before this one have reached `found`.
        /// Results of later roots, which wait for an earlier one that is still being read.
        std::unordered_map<std::size_t, SignInfo> ahead;
        SignatureMap found;  ///< Results in order, to be published with the next portion.
    };

    void inspectSome(Progress& progress) noexcept {
        try {
            while (!closing_.cancelled() && !progress.failed) {
                const auto position = progress.next++;
                if (position >= missing_.size()) return;
                complete(progress, position, inspect_(missing_[position]));
            }
        } catch (const std::bad_alloc&) {
            progress.failed = true;
        }
    }

    void complete(Progress& progress, std::size_t position, SignInfo info) {
        const std::lock_guard lock(progress.mutex);
        progress.ahead.emplace(position, std::move(info));
        for (auto done = progress.ahead.extract(progress.published); done;
             done = progress.ahead.extract(++progress.published)) {
            progress.found[missing_[done.key()]] = std::move(done.mapped());
            if (progress.found.size() == rootsPerPublication) {
                publish(std::exchange(progress.found, {}));
            }
        }
    }

    void end() {
        main_->post([known = scanner_] {
            if (auto* const scanner = known.get()) scanner->receivePassEnd();
        });
    }

    void publish(SignatureMap found) {
        main_->post([known = scanner_, found = std::move(found)] {
            if (auto* const scanner = known.get()) scanner->receiveSignatures(found);
        });
    }

    // A bundle's property list is parsed recursively, which needs more than a small stack.
    static constexpr std::size_t stackBytes = std::size_t{1} << 20U;

    std::shared_ptr<MainQueue> main_;
    std::function<SignInfo(const std::string&)> inspect_;
    CancelFlag closing_;
    WeakRef<Scanner> scanner_;
    std::vector<std::string> missing_;
};

void Scanner::refreshSignatures() {
    if (!services_.inspect) return;
    std::vector<std::string> missing;
    for (const auto& group : groups()) {
        if (!signatures().contains(group.root)) missing.push_back(group.root);
    }
    if (missing.empty()) return;
    ++passes_;
    services_.background->run(services_.priority, SignaturePass(*this, std::move(missing)));
}

void Scanner::receiveSignatures(const SignatureMap& found) {
    for (const auto& [root, info] : found) {
        results_.signatures->insert_or_assign(root, info);
        if (info.isApple) {
            appleSigned_.insert(root);
        } else {
            appleSigned_.erase(root);
        }
    }
    signaturesNewer_ = true;
    changed(ScannerField::signatures);
}

void Scanner::receivePassEnd() {
    --passes_;
    regroup();
    // A running scan saves at its end. Saving now would replace the last whole scan by half a one.
    if (!scanning_) saveCache();
}

void Scanner::collectAppleSigned() {
    appleSigned_.clear();
    for (const auto& [root, info] : signatures()) {
        if (info.isApple) appleSigned_.insert(root);
    }
}

bool Scanner::isAppleSigned(const std::string& root) const {
    return appleSigned_.contains(root);
}

}  // namespace vestigo
