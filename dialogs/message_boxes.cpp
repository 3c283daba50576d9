// The plug-in's questions and notices.

#include "dialogs/message_boxes.h"

#include "gui/emessagebox.h"

namespace {

int run(const eString &text, const eString &caption, int flags, int defaultButton)
{
    eMessageBox box(text, caption, flags, defaultButton, 0);
    box.show();
    const int answer = box.exec();
    box.hide();
    return answer;
}

} // namespace

bool askYesNo(const eString &text, const eString &caption)
{
    return run(text, caption, eMessageBox::btYes | eMessageBox::btNo | eMessageBox::iconQuestion, eMessageBox::btYes)
           == eMessageBox::btYes;
}

void showNotice(const eString &text, const eString &caption)
{
    run(text, caption, eMessageBox::btOK | eMessageBox::iconInfo, eMessageBox::btOK);
}
