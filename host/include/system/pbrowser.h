#ifndef TARNWAVE_HOST_SYSTEM_PBROWSER_H
#define TARNWAVE_HOST_SYSTEM_PBROWSER_H

// The image's directory browser: a modal window that lists the directories of
// a box path (under the box root). OK on a directory opens it (".." goes up),
// the green key chooses the directory shown, exit cancels.
//
//   pBrowser browser("/media/hdd", pBrowser::modeDirectories, "");
//   browser.show();
//   if (browser.exec() > 0)
//       use(browser.getPath());   // the chosen box path
//   browser.hide();
//
// exec() returns 1 when a directory was chosen, -1 when cancelled. A start
// path that does not exist opens its nearest existing parent. The title, when
// empty, is the translation of "Select directory".

#include "gui/elistbox.h"
#include "gui/ewindow.h"

class eLabel;

class pBrowser : public eWindow
{
public:
    enum {
        modeFiles = 0, // directories and files (files are listed, not opened)
        modeDirectories = 1, // directories only
    };

    pBrowser(const eString &path, int mode, const eString &title);
    ~pBrowser() override;

    // The directory shown now; after a choice, the one chosen. A box path
    // ending in "/".
    const eString &getPath() const { return m_path; }

    int eventHandler(const eWidgetEvent &event) override;
    const char *typeName() const override { return "pBrowser"; }

private:
    void listDirectory(const eString &path);
    void rowSelected(eListBoxEntryText *row);

    int m_mode;
    eString m_path;
    eListBox<eListBoxEntryText> *m_list;
    eLabel *m_pathLabel;
    eLabel *m_help;
};

#endif
