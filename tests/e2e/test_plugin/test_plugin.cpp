// A tiny box plug-in for the emulator's end-to-end tests (not Tarnwave): one
// window with a label that names the last action it got, a list of three
// rows, a colour swatch that takes the colour of the last colour key, and a
// directory request that the record key starts and the menu key aborts, with
// its outcome in a second label. The digits change what the TV shows: 1 takes
// the sound away, 2 shows the radio picture, 3 a black screen, 0 the TV again.

#include "base/econfig.h"
#include "base/estring.h"
#include "gui/eaction.h"
#include "gui/elabel.h"
#include "gui/elistbox.h"
#include "gui/ewindow.h"
#include "net/ehttpconnection.h"
#include "net/ehttpdatasource.h"
#include "system/decoder.h"
#include "system/ezaplcd.h"
#include "system/gplugin.h"

namespace {

// Counts the bytes of the reply's body.
class CountingSink : public eHTTPDataSource
{
public:
    CountingSink(eHTTPConnection *owner, long &bytes) : eHTTPDataSource(owner), m_bytes(bytes) { }
    void haveData(void *, int length) override { m_bytes += length; }

private:
    long &m_bytes;
};

class TestPluginWindow : public eWindow
{
public:
    TestPluginWindow()
    {
        setName("test-plugin");
        setText("Test plug-in");
        cmove(ePoint(100, 120));
        cresize(eSize(520, 300));

        m_key = new eLabel(this);
        m_key->setName("key");
        m_key->move(ePoint(10, 10));
        m_key->resize(eSize(300, 32));
        m_key->setText("key: none");

        // Opaque, so that its pixels on screen are exactly its colour.
        m_swatch = new eLabel(this);
        m_swatch->setName("swatch");
        m_swatch->move(ePoint(340, 10));
        m_swatch->resize(eSize(160, 100));
        m_swatch->setBackgroundColor(gColor(128, 128, 128));

        m_list = new eListBox<eListBoxEntryText>(this);
        m_list->setName("rows");
        m_list->move(ePoint(10, 60));
        m_list->resize(eSize(300, 120));
        new eListBoxEntryText(m_list, "first");
        new eListBoxEntryText(m_list, "second");
        new eListBoxEntryText(m_list, "third");
        CONNECT(m_list->selected, TestPluginWindow::rowSelected);

        m_transfer = new eLabel(this);
        m_transfer->setName("transfer");
        m_transfer->move(ePoint(10, 200));
        m_transfer->resize(eSize(500, 32));
        m_transfer->setText("transfer: none");

        addActionMap(&i_shortcutActions->map);
        addActionMap(&i_epgSelectorActions->map);
        setFocus(m_list);
    }

    ~TestPluginWindow() override { delete m_connection; }

    int eventHandler(const eWidgetEvent &event) override
    {
        if (event.type == eWidgetEvent::evtCharacter) {
            eString text = "typed: ";
            text += static_cast<char>(event.parameter < 128 ? event.parameter : '?');
            m_key->setText(text);
            return 1;
        }
        if (event.type != eWidgetEvent::evtAction)
            return eWindow::eventHandler(event);
        const eAction *action = event.action;
        m_key->setText(eString("key: ") + action->getIdentifier());
        if (action == &i_shortcutActions->red)
            m_swatch->setBackgroundColor(gColor(255, 0, 0));
        else if (action == &i_shortcutActions->green)
            m_swatch->setBackgroundColor(gColor(0, 255, 0));
        else if (action == &i_shortcutActions->yellow)
            m_swatch->setBackgroundColor(gColor(255, 255, 0));
        else if (action == &i_shortcutActions->blue)
            m_swatch->setBackgroundColor(gColor(0, 0, 255));
        else if (action == &i_epgSelectorActions->record)
            startTransfer();
        else if (action == &i_epgSelectorActions->menu)
            abortTransfer();
        else if (const int digit = i_shortcutActions->digitOf(action); digit >= 0)
            changeTvPicture(digit);
        else
            return eWindow::eventHandler(event); // exit closes the window
        return 1;
    }

private:
    void rowSelected(eListBoxEntryText *row)
    {
        if (row != nullptr)
            m_key->setText("chosen: " + row->getText());
    }

    void startTransfer()
    {
        if (m_connection != nullptr)
            return;
        eString base;
        eConfig::getInstance()->getKey("/tarnwave/directory", base);
        int error = 0;
        m_connection =
            eHTTPConnection::doRequest((base + "/sbin/newxml.phtml?genre=Top&mt=audio/mpeg").c_str(), eApp, &error);
        if (m_connection == nullptr) {
            m_transfer->setText(eString().sprintf("transfer: failed %d", error));
            return;
        }
        m_bytes = 0;
        CONNECT(m_connection->createDataSink, TestPluginWindow::makeSink);
        CONNECT(m_connection->transferDone, TestPluginWindow::transferDone);
        m_connection->start();
        m_transfer->setText("transfer: running");
    }

    static void changeTvPicture(int digit)
    {
        Decoder::parms = decoderParameters{0x100, 0x101, 0, 0x100, 0, 0};
        if (digit == 1)
            Decoder::parms.apid = Decoder::noPid;
        else if (digit == 3)
            Decoder::parms.vpid = Decoder::noPid;
        if (digit == 2)
            showMP3Pic();
        else
            Decoder::Set();
    }

    eHTTPDataSource *makeSink(eHTTPConnection *connection) { return new CountingSink(connection, m_bytes); }

    void transferDone(int error)
    {
        if (error == 0)
            m_transfer->setText(eString().sprintf("transfer: done %d, %ld bytes", m_connection->code, m_bytes));
        else
            m_transfer->setText(eString().sprintf("transfer: failed %d", error));
        m_connection = nullptr; // the host deletes it
    }

    void abortTransfer()
    {
        if (m_connection == nullptr)
            return;
        delete m_connection;
        m_connection = nullptr;
        m_transfer->setText("transfer: aborted");
    }

    eLabel *m_key;
    eLabel *m_swatch;
    eListBox<eListBoxEntryText> *m_list;
    eLabel *m_transfer;
    eHTTPConnection *m_connection = nullptr;
    long m_bytes = 0;
};

} // namespace

GPLUGIN_ENTRY int gPlugin_exec(int command)
{
    TestPluginWindow window;
    eZapLCDPage *page = eZapLCD::getInstance()->menuPage;
    window.setLCD(page->title, page->content);
    page->show();
    window.show();
    window.exec();
    window.hide();
    page->hide();
    Decoder::reset();
    return command;
}
