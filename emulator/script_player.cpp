#include "script_player.h"

#include "remote_input.h"
#include "screen_composer.h"
#include "settle_state.h"

#include "base/elog.h"
#include "gui/drawing/png_io.h"
#include "gui/drawing/utf8.h"

#include <cstdio>
#include <filesystem>
#include <sstream>
#include <system_error>

namespace emulator {
namespace {

constexpr long keyGapMs = 30; // between a key and the next step
constexpr long settleDefaultMs = 5000;
constexpr long settlePollMs = 20;

std::string trimmed(const std::string &text)
{
    const std::size_t first = text.find_first_not_of(" \t\r");
    if (first == std::string::npos)
        return {};
    const std::size_t last = text.find_last_not_of(" \t\r");
    return text.substr(first, last - first + 1);
}

bool parseMilliseconds(const std::string &text, long &value)
{
    if (text.empty() || text.size() > 9 || text.find_first_not_of("0123456789") != std::string::npos)
        return false;
    value = std::stol(text);
    return true;
}

bool validShotName(const std::string &name)
{
    return !name.empty() && name.size() <= 100 && name.front() != '.'
           && name.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789._-")
                  == std::string::npos;
}

} // namespace

bool parseScript(const std::string &text, std::vector<ScriptStep> &steps, std::string &error)
{
    std::istringstream lines(text);
    std::string raw;
    int number = 0;
    while (std::getline(lines, raw)) {
        ++number;
        const std::string line = trimmed(raw);
        if (line.empty() || line.front() == '#')
            continue;
        const std::size_t blank = line.find_first_of(" \t");
        const std::string word = line.substr(0, blank);
        const std::string rest = blank == std::string::npos ? std::string() : trimmed(line.substr(blank + 1));
        const auto fail = [&](const std::string &reason) {
            error = "line " + std::to_string(number) + ": " + reason;
            return false;
        };

        ScriptStep step;
        step.line = number;
        if (word == "wait") {
            step.kind = ScriptStep::wait;
            if (!parseMilliseconds(rest, step.milliseconds))
                return fail("wait needs milliseconds, not \"" + rest + "\"");
        } else if (word == "settle") {
            step.kind = ScriptStep::settle;
            step.milliseconds = settleDefaultMs;
            if (!rest.empty() && !parseMilliseconds(rest, step.milliseconds))
                return fail("settle takes milliseconds, not \"" + rest + "\"");
        } else if (word == "shot") {
            step.kind = ScriptStep::shot;
            step.argument = rest;
            if (!validShotName(rest))
                return fail("shot needs a name of letters, digits, '.', '_' or '-', not \"" + rest + "\"");
        } else if (word == "text") {
            step.kind = ScriptStep::text;
            step.argument = line.substr(blank == std::string::npos ? line.size() : blank + 1);
            if (step.argument.empty())
                return fail("text needs the characters to type");
        } else {
            step.kind = ScriptStep::key;
            step.argument = word == "key" ? rest : word;
            if (word != "key" && !rest.empty())
                return fail("\"" + word + "\" is no step (keys, wait, settle, shot, text)");
            if (!isRemoteKey(step.argument))
                return fail("\"" + step.argument + "\" is no remote-control key");
        }
        steps.push_back(std::move(step));
    }
    return true;
}

ScriptPlayer::ScriptPlayer(std::vector<ScriptStep> steps, std::string shotsDir, ScreenComposer &composer,
                           std::function<void(int)> finished)
    : m_steps(std::move(steps)), m_shotsDir(std::move(shotsDir)), m_composer(composer), m_finished(std::move(finished)),
      m_stepTimer(eApp), m_settleTimer(eApp)
{
    CONNECT(m_stepTimer.timeout, ScriptPlayer::runNextStep);
    CONNECT(m_settleTimer.timeout, ScriptPlayer::pollSettled);
}

ScriptPlayer::~ScriptPlayer() = default;

void ScriptPlayer::start()
{
    planNext(0);
}

void ScriptPlayer::planNext(long milliseconds)
{
    m_stepTimer.start(milliseconds, true);
}

void ScriptPlayer::runNextStep()
{
    if (m_next >= m_steps.size()) {
        eDebug("box-emulator: the script has ended");
        if (m_finished)
            m_finished(m_status);
        return;
    }
    const ScriptStep step = m_steps[m_next++];
    switch (step.kind) {
    case ScriptStep::key:
        planNext(keyGapMs);
        pressRemoteKey(step.argument);
        break;
    case ScriptStep::text:
        planNext(keyGapMs);
        for (const char32_t character : boxtext::decodeUtf8(step.argument))
            typeCharacter(character);
        break;
    case ScriptStep::wait: planNext(step.milliseconds); break;
    case ScriptStep::settle:
        m_settleDeadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(step.milliseconds);
        m_settledInARow = 0;
        m_settleTimer.start(0, true);
        break;
    case ScriptStep::shot:
        writeShot(step.argument);
        planNext(0);
        break;
    }
}

void ScriptPlayer::pollSettled()
{
    m_settledInARow = currentSettleState().settled() ? m_settledInARow + 1 : 0;
    if (m_settledInARow >= 2) {
        planNext(0);
    } else if (std::chrono::steady_clock::now() >= m_settleDeadline) {
        eWarning("box-emulator: script line %d: the box did not settle in time", m_steps[m_next - 1].line);
        planNext(0);
    } else {
        m_settleTimer.start(settlePollMs, true);
    }
}

void ScriptPlayer::writeShot(const std::string &name)
{
    std::error_code code;
    std::filesystem::create_directories(m_shotsDir, code);
    const std::string path = (std::filesystem::path(m_shotsDir) / (name + ".png")).string();
    std::string error;
    if (code || !savePNG(m_composer.composeScreen(), path, &error)) {
        eError("box-emulator: cannot write the shot %s: %s", path.c_str(),
               code ? code.message().c_str() : error.c_str());
        m_status = 1;
        return;
    }
    std::printf("box-emulator: wrote %s\n", path.c_str());
    std::fflush(stdout);
}

} // namespace emulator
