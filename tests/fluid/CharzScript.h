#pragma once

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "fluid/Charz_User.h"
#include "frame/ErrorCounts.h"
#include "frame/Errors.h"
#include "input/Reader.h"

namespace kestrane {

/// A plain owner of characterizations that reads scripts from memory. Lumps are formed of equal
/// amounts at the standard temperature unless a test says otherwise.
class ScriptedUser final : public Charz_User {
public:
    std::vector<double> base_fractions(const Charzation& base) const override {
        const auto at = mixtures.find(base.name);
        return at == mixtures.end() ? Charz_User::base_fractions(base) : at->second;
    }
    double base_temperature() const override { return temperature; }

    std::map<std::string, std::vector<double>> mixtures;  ///< by characterization
    double temperature = 0.0;                             ///< K; 0: the standard one
};

/// Runs a script on a plain owner and keeps what was printed. Live: each command acts while it is
/// read. Deferred: commands are stored, and run_pass() executes them as one pass over the script.
class CharzScript {
public:
    enum class Mode { Live, Deferred };

    explicit CharzScript(const std::string& text, Mode mode = Mode::Live)
        : input_(text), in_(input_), out_(output_), writer_(counts, nullptr, &out_) {
        user.SetDeferred(mode == Mode::Deferred);
        reader_ = std::make_unique<Reader>(writer_, in_);
        guarded([this] { user.ReadAll(*reader_); });
    }

    void run_pass() {
        guarded([this] {
            user.forget_charzations();
            for (const auto& command : user.commands) command->Rerun(*reader_);
            for (const auto& command : user.commands) command->Execute(*reader_);
        });
    }

    std::string report() const { return output_.str(); }
    void clear_report() { output_.str({}); }
    std::vector<std::string> report_lines() const {
        std::vector<std::string> lines;
        std::istringstream stream(report());
        for (std::string line; std::getline(stream, line);) lines.push_back(line);
        return lines;
    }
    /// How often the text stands in the report.
    int times(const std::string& text) const {
        const std::string all = report();
        int found = 0;
        for (std::size_t at = all.find(text); at != std::string::npos; at = all.find(text, at + 1))
            ++found;
        return found;
    }
    bool prints(const std::string& text) const { return times(text) > 0; }

    Charzation& charz() { return *user.current(); }
    const Compnent& component(const std::string& name) {
        const int index = charz().find_component(name);
        if (index < 0) throw BadComponent{};
        return charz().comps[static_cast<std::size_t>(index)];
    }

    ErrorCounts counts;
    ScriptedUser user;
    bool fatal = false;

private:
    template <class F>
    void guarded(F action) {
        try {
            action();
        } catch (const FatalError&) {
            fatal = true;
        }
    }

    std::stringbuf input_;
    std::stringbuf output_;
    InFile in_;
    OutFile out_;
    Writer writer_;
    std::unique_ptr<Reader> reader_;
};

}  // namespace kestrane
