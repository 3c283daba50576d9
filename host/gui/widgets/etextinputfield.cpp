#include "gui/etextinputfield.h"

#include "base/ebase.h"
#include "gui/drawing/utf8.h"
#include "gui/eaction.h"
#include "gui/eskin.h"
#include "gui/etextpara.h"
#include "gui/gpainter.h"
#include "gui/widgets/json_writer.h"

#include <libintl.h>

#include <algorithm>
#include <clocale>

namespace {

// The characters each digit key types, in the order repeated presses give them.
constexpr std::u32string_view multiTapRows[10] = {
    U" 0",      U".,-?!'&/1", U"abc2ABCäÄ",  U"def3DEF",   U"ghi4GHI",
    U"jkl5JKL", U"mno6MNOöÖ", U"pqrs7PQRSß", U"tuv8TUVüÜ", U"wxyz9WXYZ",
};

constexpr char32_t backspace = 8;
constexpr char32_t deleteCharacter = 127;
constexpr int textPadding = 4; // between the client area's edges and the text
constexpr int cursorWidth = 2;
constexpr int underlineThickness = 2;

bool isControl(char32_t character)
{
    return character < 0x20 || (character >= 0x7f && character < 0xa0);
}

bool isTypable(char32_t character)
{
    return !isControl(character) && character <= 0x10FFFF && !(character >= 0xD800 && character <= 0xDFFF);
}

eString encode(const std::u32string &characters, std::size_t count = std::u32string::npos)
{
    std::string out;
    count = std::min(count, characters.size());
    for (std::size_t i = 0; i < count; ++i)
        boxtext::appendUtf8(out, characters[i]);
    return out;
}

} // namespace

eTextInputField::eTextInputField(eWidget *parent, eLabel *descr, eWidget *helpwidget, const char *deco)
    : eLabel(parent, flagNoWrap | flagVCenter, 1, deco), m_descr(descr), m_helpWidget(helpwidget),
      m_helpWidgetAlive(helpwidget ? helpwidget->lifeToken() : std::weak_ptr<void>())
{
    addActionMap(&i_cursorActions->map);
    addActionMap(&i_shortcutActions->map);
}

eTextInputField::~eTextInputField()
{
    showHelp(false);
}

void eTextInputField::setMaxChars(int maxChars)
{
    maxChars = std::max(0, maxChars);
    if (maxChars == m_maxChars)
        return;
    m_maxChars = maxChars;
    std::u32string characters = boxtext::decodeUtf8(getText());
    const auto limit = static_cast<std::size_t>(m_maxChars);
    if (m_maxChars && characters.size() > limit) {
        characters.resize(limit);
        edit(characters, std::min(m_cursor, limit));
    }
}

void eTextInputField::setCursor(int position)
{
    const std::size_t length = boxtext::utf8Length(getText());
    const std::size_t cursor = static_cast<std::size_t>(std::max(0, position));
    const std::size_t clamped = std::min(cursor, length);
    if (clamped == m_cursor)
        return;
    m_cursor = clamped;
    invalidate();
    updateScroll();
}

void eTextInputField::setMultiTapInterval(int milliseconds)
{
    m_multiTapMs = std::max(0, milliseconds);
}

bool eTextInputField::isMultiTapOpen() const
{
    return m_tapDigit >= 0 && boxhost::monotonicNow() - m_tapTime < std::chrono::milliseconds(m_multiTapMs);
}

void eTextInputField::edit(const std::u32string &characters, std::size_t cursor)
{
    m_cursor = std::min(cursor, characters.size());
    m_ownEdit = true;
    setText(encode(characters));
    m_ownEdit = false;
    invalidate();
    updateScroll();
}

bool eTextInputField::insertCharacter(char32_t character)
{
    std::u32string characters = boxtext::decodeUtf8(getText());
    if (m_maxChars && characters.size() >= static_cast<std::size_t>(m_maxChars))
        return false;
    characters.insert(characters.begin() + static_cast<std::ptrdiff_t>(m_cursor), character);
    edit(characters, m_cursor + 1);
    return true;
}

void eTextInputField::deleteBefore()
{
    if (m_cursor == 0)
        return;
    std::u32string characters = boxtext::decodeUtf8(getText());
    characters.erase(m_cursor - 1, 1);
    edit(characters, m_cursor - 1);
}

void eTextInputField::deleteAfter()
{
    std::u32string characters = boxtext::decodeUtf8(getText());
    if (m_cursor >= characters.size())
        return;
    characters.erase(m_cursor, 1);
    edit(characters, m_cursor);
}

void eTextInputField::multiTap(int digit)
{
    const std::u32string_view row = multiTapRows[static_cast<std::size_t>(digit)];
    if (m_tapDigit == digit && isMultiTapOpen() && m_cursor > 0) {
        // The same key again: the character just typed becomes the next of its row.
        m_tapIndex = (m_tapIndex + 1) % row.size();
        std::u32string characters = boxtext::decodeUtf8(getText());
        characters[m_cursor - 1] = row[m_tapIndex];
        edit(characters, m_cursor);
    } else {
        endMultiTap();
        if (!insertCharacter(row.front()))
            return;
        m_tapDigit = digit;
        m_tapIndex = 0;
    }
    m_tapTime = boxhost::monotonicNow();
    if (eApp) {
        if (!m_tapTimer) {
            m_tapTimer = std::make_unique<eTimer>(eApp);
            m_tapTimer->timeout.connect(sigc::mem_fun(*this, &eTextInputField::endMultiTap));
        }
        m_tapTimer->start(m_multiTapMs, true);
    }
}

void eTextInputField::endMultiTap()
{
    if (m_tapTimer)
        m_tapTimer->stop();
    if (m_tapDigit < 0)
        return;
    m_tapDigit = -1;
    invalidate();
}

bool eTextInputField::normalizeText()
{
    std::u32string characters = boxtext::decodeUtf8(getText());
    for (char32_t &character : characters)
        if (isControl(character))
            character = U' ';
    if (m_maxChars && characters.size() > static_cast<std::size_t>(m_maxChars))
        characters.resize(static_cast<std::size_t>(m_maxChars));
    const eString clean = encode(characters);
    if (clean == getText())
        return true;
    setText(clean);
    return false;
}

int eTextInputField::eventHandler(const eWidgetEvent &event)
{
    switch (event.type) {
    case eWidgetEvent::evtAction: {
        const int digit = i_shortcutActions->digitOf(event.action);
        if (digit >= 0) {
            multiTap(digit);
            return 1;
        }
        if (event.action == &i_shortcutActions->red) {
            endMultiTap();
            deleteBefore();
            return 1;
        }
        if (event.action == &i_cursorActions->left || event.action == &i_cursorActions->right) {
            endMultiTap();
            setCursor(getCursor() + (event.action == &i_cursorActions->right ? 1 : -1));
            return 1;
        }
        if (event.action == &i_cursorActions->ok) {
            endMultiTap();
            selected();
            return 0;
        }
        return 0;
    }
    case eWidgetEvent::evtCharacter: {
        const auto character = static_cast<char32_t>(event.parameter);
        if (character == backspace) {
            endMultiTap();
            deleteBefore();
            return 1;
        }
        if (character == deleteCharacter) {
            endMultiTap();
            deleteAfter();
            return 1;
        }
        if (event.parameter < 0 || !isTypable(character))
            return 0;
        endMultiTap();
        insertCharacter(character);
        return 1;
    }
    case eWidgetEvent::changedText:
        if (!m_ownEdit) {
            // A text set from outside: cleaned (which sets it once more, and
            // that call does the rest), then the cursor goes to its end.
            if (!normalizeText())
                return 1;
            endMultiTap();
            m_cursor = boxtext::utf8Length(getText());
            updateScroll();
        }
        break;
    case eWidgetEvent::gotFocus: showHelp(true); break;
    case eWidgetEvent::lostFocus:
        endMultiTap();
        showHelp(false);
        break;
    case eWidgetEvent::changedFont:
    case eWidgetEvent::changedSize: updateScroll(); break;
    default: break;
    }
    return eLabel::eventHandler(event);
}

gFont eTextInputField::effectiveFont() const
{
    if (hasOwnFont())
        return getFont();
    const eSkin *skin = eSkin::getActive();
    return skin->hasFont("eTextInputField") ? skin->queryFont("eTextInputField") : skin->queryFont("eNumber");
}

int eTextInputField::advanceOf(std::size_t count) const
{
    if (count == 0)
        return 0;
    // textWidth leaves trailing blanks out; a character after them keeps them in.
    const gFont font = effectiveFont();
    const std::u32string characters = boxtext::decodeUtf8(getText());
    return textWidth(font, encode(characters, count) + "x") - textWidth(font, "x");
}

void eTextInputField::updateScroll()
{
    const int room = getClientRect().width() - 2 * textPadding - cursorWidth;
    int scroll = m_scroll;
    if (room <= 0) {
        scroll = 0;
    } else {
        const int cursorX = advanceOf(m_cursor);
        const int total = advanceOf(boxtext::utf8Length(getText()));
        if (cursorX - scroll > room)
            scroll = cursorX - room;
        if (cursorX < scroll)
            scroll = cursorX;
        // No empty space right of the text while part of it is hidden left.
        scroll = std::max(0, std::min(scroll, total - room));
    }
    if (scroll == m_scroll)
        return;
    m_scroll = scroll;
    invalidate();
}

void eTextInputField::showHelp(bool focused)
{
    if (!m_helpWidget || m_helpWidgetAlive.expired() || focused == m_showingHelp)
        return;
    if (focused) {
        m_helpWidgetText = m_helpWidget->getText();
        m_helpWidget->setText(dcgettext(nullptr, "Digit keys type letters, red deletes", LC_MESSAGES));
    } else {
        m_helpWidget->setText(m_helpWidgetText);
    }
    m_showingHelp = focused;
}

void eTextInputField::redrawWidget(gPainter *painter, const eRect &)
{
    drawDecoration(painter);
    const eRect client = getClientRect();
    if (client.isEmpty())
        return;
    const gFont font = effectiveFont();
    const gFontMetrics metrics = fontMetrics(font);
    const int lineHeight = std::max(1, metrics.lineHeight);
    const int textLeft = client.left() + textPadding - m_scroll;
    const int lineTop = client.top() + (client.height() - lineHeight) / 2;

    painter->clip(client);
    painter->setForegroundColor(getForegroundColor());
    if (!getText().empty()) {
        const int width = advanceOf(boxtext::utf8Length(getText())) + 2 * lineHeight;
        auto *para = new eTextPara(eRect(ePoint(textLeft, lineTop), eSize(width, lineHeight)));
        para->setFont(font);
        para->renderString(getText());
        painter->renderPara(*para);
        para->destroy();
    }
    if (hasFocus()) {
        const int cursorX = textLeft + advanceOf(m_cursor);
        painter->fill(eRect(ePoint(cursorX, lineTop), eSize(cursorWidth, lineHeight)));
        if (isMultiTapOpen() && m_cursor > 0) {
            const int start = textLeft + advanceOf(m_cursor - 1);
            const int underlineTop = lineTop + metrics.ascender + 2;
            painter->fill(eRect(ePoint(start, underlineTop), eSize(std::max(1, cursorX - start), underlineThickness)));
        }
    }
    painter->clippop();
}

void eTextInputField::describeContents(JsonWriter &json) const
{
    eLabel::describeContents(json);
    json.key("cursor").value(getCursor());
    json.key("maxChars").value(m_maxChars);
}
