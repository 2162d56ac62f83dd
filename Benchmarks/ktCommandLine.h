// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
} // namespace CLI

/// The command line of a benchmark. CLI11 takes ten seconds to compile: this class does it once for all benchmarks.
/// Variables passed to the functions below hold the defaults, receive what the user gives, and must outlive parse().
/// A name without "--" is an argument by position.
class ktCommandLine {
public:
    /// `title` is the first line of --help.
    explicit ktCommandLine(const std::string& title);
    ~ktCommandLine();

    /// Value: std::string, int, unsigned, std::size_t, float, or a vector of std::string or unsigned.
    template <class Value>
    void add(const std::string& name, Value& value, const std::string& help);
    void addRequired(const std::string& name, std::string& value, const std::string& help);
    /// Takes one word each time the user gives `name`. By position: all words that are left.
    void addEach(const std::string& name, std::vector<std::string>& values, const std::string& help);
    /// Accepts values above 0.
    template <class Value>
    void addPositive(const std::string& name, Value& value, const std::string& help);
    /// Accepts values from `lowest` to `highest`, both included.
    template <class Value>
    void addRange(const std::string& name, Value& value, const std::string& help, int lowest, int highest);
    /// Accepts the words of `choices`. Value: std::string or a vector of it.
    template <class Value>
    void addChoice(const std::string& name, Value& value, const std::string& help,
                   const std::vector<std::string>& choices);
    /// True when the user gives `name`.
    void addFlag(const std::string& name, bool& value, const std::string& help);

    /// Reads the arguments into the variables. Returns the program's exit code when it must end now: after --help, or
    /// after an error, of which a message was printed.
    std::optional<int> parse(int count, const char* const* arguments);

private:
    template <class Value>
    CLI::Option* addOption(const std::string& name, Value& value, const std::string& help);

    std::unique_ptr<CLI::App> app;
};
