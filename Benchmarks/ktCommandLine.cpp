// SPDX-License-Identifier: LGPL-2.1-or-later
// Wraps CLI11, which is slow to compile, so that only one source of the benchmarks includes it.
#include "ktCommandLine.h"

#include <CLI/CLI.hpp>

ktCommandLine::ktCommandLine(const std::string& title) : app(std::make_unique<CLI::App>(title)) {}

ktCommandLine::~ktCommandLine() = default;

template <class Value>
CLI::Option* ktCommandLine::addOption(const std::string& name, Value& value, const std::string& help) {
    return app->add_option(name, value, help)->capture_default_str();
}

template <class Value>
void ktCommandLine::add(const std::string& name, Value& value, const std::string& help) {
    addOption(name, value, help);
}

void ktCommandLine::addRequired(const std::string& name, std::string& value, const std::string& help) {
    app->add_option(name, value, help)->required();
}

void ktCommandLine::addEach(const std::string& name, std::vector<std::string>& values, const std::string& help) {
    CLI::Option* const option = addOption(name, values, help);
    if (!option->get_positional())
        option->allow_extra_args(false);
}

template <class Value>
void ktCommandLine::addPositive(const std::string& name, Value& value, const std::string& help) {
    addOption(name, value, help)->check(CLI::PositiveNumber);
}

template <class Value>
void ktCommandLine::addRange(const std::string& name, Value& value, const std::string& help, int lowest, int highest) {
    addOption(name, value, help)->check(CLI::Range(lowest, highest));
}

template <class Value>
void ktCommandLine::addChoice(const std::string& name, Value& value, const std::string& help,
                              const std::vector<std::string>& choices) {
    addOption(name, value, help)->check(CLI::IsMember(choices));
}

void ktCommandLine::addFlag(const std::string& name, bool& value, const std::string& help) {
    app->add_flag(name, value, help);
}

std::optional<int> ktCommandLine::parse(int count, const char* const* arguments) {
    try {
        app->parse(count, arguments);
        return std::nullopt;
    } catch (const CLI::ParseError& error) {
        return app->exit(error);
    }
}

template void ktCommandLine::add(const std::string&, std::string&, const std::string&);
template void ktCommandLine::add(const std::string&, unsigned&, const std::string&);
template void ktCommandLine::add(const std::string&, std::size_t&, const std::string&);
template void ktCommandLine::add(const std::string&, float&, const std::string&);
template void ktCommandLine::add(const std::string&, std::vector<std::string>&, const std::string&);
template void ktCommandLine::add(const std::string&, std::vector<unsigned>&, const std::string&);
template void ktCommandLine::addPositive(const std::string&, int&, const std::string&);
template void ktCommandLine::addPositive(const std::string&, unsigned&, const std::string&);
template void ktCommandLine::addRange(const std::string&, int&, const std::string&, int, int);
template void ktCommandLine::addRange(const std::string&, unsigned&, const std::string&, int, int);
template void ktCommandLine::addChoice(const std::string&, std::string&, const std::string&,
                                       const std::vector<std::string>&);
template void ktCommandLine::addChoice(const std::string&, std::vector<std::string>&, const std::string&,
                                       const std::vector<std::string>&);
