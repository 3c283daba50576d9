#include "gui/emessagebox.h"

#include "base/ebase.h"
#include "base/messages.h"
#include "gui/ebutton.h"
#include "gui/elabel.h"
#include "gui/eskin.h"
#include "gui/etextpara.h"
#include "gui/gpixmap.h"
#include "gui/widgets/escreen.h"
#include "gui/widgets/json_writer.h"

#include <algorithm>

namespace {

// Layout in pixels.
constexpr int margin = 16; // around the contents of the client area
constexpr int maxMessageWidth = 560;
constexpr int iconGap = 16; // between icon and message
constexpr int buttonRowGap = 16; // between message and buttons
constexpr int buttonGap = 12; // between two buttons
constexpr int buttonPadding = 20; // left and right of a button's text
constexpr int buttonVerticalPadding = 8;
constexpr int minButtonWidth = 100;
constexpr int titlePadding = 12; // eWindow's space left and right of the title

struct ButtonKind
{
    int id;
    const char *name;
    const char *text;
};

// The buttons in their order on screen.
constexpr ButtonKind buttonKinds[] = {
    {eMessageBox::btYes, "yes", "Yes"},
    {eMessageBox::btNo, "no", "No"},
    {eMessageBox::btOK, "ok", "OK"},
    {eMessageBox::btCancel, "cancel", "Cancel"},
};

const char *iconImageName(int flags)
{
    if (flags & eMessageBox::iconError)
        return "messagebox.error";
    if (flags & eMessageBox::iconWarning)
        return "messagebox.warning";
    if (flags & eMessageBox::iconQuestion)
        return "messagebox.question";
    if (flags & eMessageBox::iconInfo)
        return "messagebox.info";
    return nullptr;
}

// The width of the widest line of `message`, unwrapped.
int naturalWidth(const gFont &font, const eString &message)
{
    int widest = 0;
    std::size_t start = 0;
    while (start <= message.size()) {
        std::size_t end = message.find('\n', start);
        if (end == eString::npos)
            end = message.size();
        widest = std::max(widest, textWidth(font, message.substr(start, end - start)));
        start = end + 1;
    }
    return widest;
}

// The height `message` takes when wrapped at `width`, as eLabel lays it out.
int wrappedHeight(const gFont &font, const eString &message, int width)
{
    if (message.empty())
        return 0;
    constexpr int unlimited = 1 << 24;
    auto *para = new eTextPara(eRect(ePoint(0, 0), eSize(width, unlimited)));
    para->setFont(font);
    para->renderString(message, eTextPara::RS_WRAP);
    const int height = para->lineCount() * para->lineHeight();
    para->destroy();
    return height;
}

} // namespace

eMessageBox::eMessageBox(eString message, eString caption, int flags, int def, int timeout)
    : eWindow(0), m_timeoutSeconds(std::max(0, timeout))
{
    setText(caption);

    const eSkin *skin = eSkin::getActive();
    if (const char *iconName = iconImageName(flags))
        if (gPixmap *image = skin->queryImage(iconName)) {
            m_iconLabel = new eLabel(this, 0, 0, "");
            m_iconLabel->setName("icon");
            m_iconLabel->setPixmap(image);
        }

    m_messageLabel = new eLabel(this, 0, 0, "");
    m_messageLabel->setName("text");
    m_messageLabel->setText(message);

    const int buttonFlags = (flags & btMax) ? (flags & btMax) : btOK;
    for (const ButtonKind &kind : buttonKinds) {
        if (!(buttonFlags & kind.id))
            continue;
        auto *button = new eButton(this);
        button->setName(kind.name);
        button->setText(translated(kind.text));
        button->loadDeco();
        button->selected.connect(sigc::bind(sigc::mem_fun(*this, &eMessageBox::press), kind.id));
        m_buttons.push_back({kind.id, button});
    }
    auto isDefault = [def](const Button &button) { return button.id == def; };
    auto found = std::find_if(m_buttons.begin(), m_buttons.end(), isDefault);
    const Button &initial = found != m_buttons.end() ? *found : m_buttons.front();
    m_defaultButton = initial.id;

    layout(message);
    setFocus(initial.widget);
}

eMessageBox::~eMessageBox() = default;

void eMessageBox::layout(const eString &message)
{
    const eSkin *skin = eSkin::getActive();
    const gFont font = skin->queryFont("eLabel");
    const int lineHeight = std::max(1, fontMetrics(font).lineHeight);
    const eSize screen = getScreen()->size();

    // The icon and the message side by side.
    const eSize iconSize = m_iconLabel ? m_iconLabel->getPixmap()->size() : eSize(0, 0);
    const int iconSpace = m_iconLabel ? iconSize.width() + iconGap : 0;
    const int messageWidth = std::min(maxMessageWidth, naturalWidth(font, message)) + 1;
    int messageHeight = wrappedHeight(font, message, messageWidth);

    // The buttons in a row, each wide enough for its text.
    std::vector<eSize> buttonSizes;
    int rowWidth = 0;
    int buttonHeight = 0;
    for (const Button &button : m_buttons) {
        button.widget->setFont(font);
        const eDecoration &deco = button.widget->decoration();
        const int frame = deco.valid ? 2 * deco.borderWidth : 0;
        const eSize size(std::max(minButtonWidth, textWidth(font, button.widget->getText()) + 2 * buttonPadding)
                             + frame,
                         lineHeight + 2 * buttonVerticalPadding + frame);
        buttonSizes.push_back(size);
        rowWidth += size.width() + (rowWidth ? buttonGap : 0);
        buttonHeight = std::max(buttonHeight, size.height());
    }

    // A message taller than the screen allows is cut off.
    const int frameHeight = titleHeight() + 2 * borderWidth();
    const int roomForMessage = screen.height() - frameHeight - 2 * margin - buttonRowGap - buttonHeight;
    messageHeight = std::min(messageHeight, std::max(lineHeight, roomForMessage));

    const int bodyHeight = std::max(iconSize.height(), messageHeight);
    const int titleWidth = textWidth(skin->queryFont("eWindow.title"), getText()) + 2 * titlePadding;
    const int contentWidth = std::max({iconSpace + messageWidth, rowWidth, titleWidth - 2 * margin});
    const eSize client(contentWidth + 2 * margin, 2 * margin + bodyHeight + buttonRowGap + buttonHeight);

    if (m_iconLabel) {
        m_iconLabel->move(ePoint(margin, margin + (bodyHeight - iconSize.height()) / 2));
        m_iconLabel->resize(iconSize);
    }
    m_messageLabel->setFont(font);
    m_messageLabel->move(ePoint(margin + iconSpace, margin + (bodyHeight - messageHeight) / 2));
    m_messageLabel->resize(eSize(messageWidth, messageHeight));

    int x = (client.width() - rowWidth) / 2;
    const int y = margin + bodyHeight + buttonRowGap;
    for (std::size_t i = 0; i < m_buttons.size(); ++i) {
        m_buttons[i].widget->move(ePoint(x, y + (buttonHeight - buttonSizes[i].height()) / 2));
        m_buttons[i].widget->resize(buttonSizes[i]);
        x += buttonSizes[i].width() + buttonGap;
    }

    cresize(client);
    const eSize outer = getSize();
    move(
        ePoint(std::max(0, (screen.width() - outer.width()) / 2), std::max(0, (screen.height() - outer.height()) / 2)));
}

void eMessageBox::press(int button)
{
    close(button);
}

std::vector<int> eMessageBox::buttons() const
{
    std::vector<int> ids;
    for (const Button &button : m_buttons)
        ids.push_back(button.id);
    return ids;
}

gPixmap *eMessageBox::icon() const
{
    return m_iconLabel ? m_iconLabel->getPixmap() : nullptr;
}

int eMessageBox::eventHandler(const eWidgetEvent &event)
{
    switch (event.type) {
    case eWidgetEvent::execBegin:
        if (!isShown()) {
            show();
            m_shownForExec = true;
        }
        if (m_timeoutSeconds > 0 && eApp) {
            if (!m_timeoutTimer) {
                m_timeoutTimer = std::make_unique<eTimer>(eApp);
                m_timeoutTimer->timeout.connect(sigc::bind(sigc::mem_fun(*this, &eMessageBox::press), m_defaultButton));
            }
            m_timeoutTimer->start(static_cast<long>(m_timeoutSeconds) * 1000, true);
        }
        break;
    case eWidgetEvent::execDone:
        if (m_timeoutTimer)
            m_timeoutTimer->stop();
        if (m_shownForExec) {
            m_shownForExec = false;
            hide();
        }
        break;
    default: break;
    }
    return eWindow::eventHandler(event);
}

void eMessageBox::describeContents(JsonWriter &json) const
{
    eWindow::describeContents(json);
    json.key("defaultButton").value(m_defaultButton);
    json.key("timeout").value(m_timeoutSeconds);
}
