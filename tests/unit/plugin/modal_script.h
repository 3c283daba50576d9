#ifndef TARNWAVE_TESTS_UNIT_PLUGIN_MODAL_SCRIPT_H
#define TARNWAVE_TESTS_UNIT_PLUGIN_MODAL_SCRIPT_H

// Answers the modal windows that a key opens (the menu, the search window, a
// question), one step per window, in the order they come to the front.
//
//   plugintest::ModalScript script(box.app);
//   script.expect("setup_menu", [](eWidget &menu) { press("down"); press("ok"); });
//   script.expect("eMessageBox", [&](eWidget &box) { question = textOf(box); press("ok"); });
//   press("menu");                       // returns when every window is closed
//   EXPECT_TRUE(script.finished()) << script.problems();
//
// A step sees the window and presses keys that end its modal run. A window
// that comes when no step is left, or one of another type than its step
// names, is noted as a problem and left with the exit key, so that a test
// never hangs on a window it did not expect.

#include "dialogs/ctarnwave_search.h"
#include "dialogs/numberw.h"
#include "dialogs/setup_menu.h"

#include "base/ebase.h"
#include "gui/ewidget.h"
#include "gui/widgets/escreen.h"

#include <deque>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace plugintest {

class ModalScript
{
public:
    using Step = std::function<void(eWidget &window)>;

    explicit ModalScript(eApplication &app) : m_watch(&app)
    {
        m_watch.timeout.connect([this] { look(); });
        m_watch.start(5, false);
    }

    // The next modal window must be of `type` (its typeName, or a class of
    // the plug-in: "setup_menu", "Ctarnwave_search", "numberW").
    ModalScript &expect(std::string type, Step step)
    {
        m_steps.push_back({std::move(type), std::move(step)});
        return *this;
    }

    // Every step ran and no window came unexpected.
    bool finished() const { return m_steps.empty() && m_problems.empty(); }
    const std::string &problems() const { return m_problems; }
    // The types of the windows answered, in order.
    const std::vector<std::string> &seen() const { return m_seen; }

private:
    struct Expected
    {
        std::string type;
        Step step;
    };

    static constexpr const char *answeredMark = "answered by the test";

    void look()
    {
        eWidget *window = eScreen::osd().activeWindow();
        if (!window || !window->isInExec() || window->getName() == answeredMark)
            return;
        // Marked, so that it is answered once even if the step leaves it open.
        window->setName(answeredMark);
        const std::string type = typeOf(*window);
        m_seen.push_back(type);
        if (m_steps.empty()) {
            m_problems += "unexpected " + type + " \"" + window->getText() + "\"; ";
            window->close(-1);
            return;
        }
        Expected next = std::move(m_steps.front());
        m_steps.pop_front();
        if (next.type != type) {
            m_problems += "expected " + next.type + ", came " + type + " \"" + window->getText() + "\"; ";
            window->close(-1);
            return;
        }
        next.step(*window);
    }

    static std::string typeOf(eWidget &window)
    {
        if (dynamic_cast<setup_menu *>(&window))
            return "setup_menu";
        if (dynamic_cast<Ctarnwave_search *>(&window))
            return "Ctarnwave_search";
        if (dynamic_cast<numberW *>(&window))
            return "numberW";
        return window.typeName();
    }

    eTimer m_watch;
    std::deque<Expected> m_steps;
    std::vector<std::string> m_seen;
    std::string m_problems;
};

} // namespace plugintest

#endif
