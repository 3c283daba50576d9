#include "model/my_listbox.h"

#include "base/estring.h"
#include "base/messages.h"
#include "gui/eskin.h"
#include "gui/etextpara.h"
#include "gui/gpainter.h"
#include "gui/gpixmap.h"

#include <utility>

// Rows are double-height: a name line and an info line. The main window sets
// this again just before it makes each list box, once the box's skin is active.
int my_ListBox::EntryHeight = 2 * eListBoxEntryText::getEntryHeight();

namespace {

// The info line of a station row: "bitrate: 128<tab>genre: Jazz", either part
// only when the record has it, else the row's own address.
eString infoText(const Listentry &record)
{
    eString text;
    if (!record.bitrate.empty()) {
        text += translated("bitrate");
        text += ": ";
        text += record.bitrate;
        text += "\t";
    }
    if (!record.genre.empty()) {
        text += translated("genre");
        text += ": ";
        text += record.genre;
    }
    if (text.empty())
        text = "URL: " + record.url;
    return text;
}

void destroyPara(eTextPara *&para)
{
    if (para) {
        para->destroy();
        para = nullptr;
    }
}

} // namespace

my_ListBox::my_ListBox(eListBox<my_ListBox> *listbox, std::shared_ptr<Listentry> record, bool)
    : eListBoxEntryText(listbox, record->name, ""), namePara(nullptr), indexPara(nullptr), infoPara(nullptr),
      entry(std::move(record))
{
}

my_ListBox::~my_ListBox()
{
    destroyPara(namePara);
    destroyPara(indexPara);
    destroyPara(infoPara);
}

bool my_ListBox::operator<(const eListBoxEntry &other) const
{
    // Every row of the plug-in's lists is a my_ListBox.
    return listentryComesBefore(*entry, *static_cast<const my_ListBox &>(other).entry);
}

const eString &my_ListBox::redraw(gPainter *painter, const eRect &rect, gColor coActiveB, gColor coActiveF,
                                  gColor coNormalB, gColor coNormalF, int state)
{
    const int width = rect.width();
    const int height = rect.height();

    // Background and selection bar; the matching text colour stays in the painter.
    drawEntryRect(painter, rect, coActiveB, coActiveF, coNormalB, coNormalF, state);

    // A station writes both lines in the status bar's font; a genre has only its
    // name, moved down to the middle of the row, in the list's font.
    gFont font = eSkin::getActive()->queryFont("eStatusBar");
    int offset = 0;
    if (entry->type == Listentry::ENTRY_GENRE) {
        offset = EntryHeight / 4;
        font = eSkin::getActive()->queryFont("eListBox.EntryText.normal");
    }

    // The texts are laid out on the first draw only and kept: later draws just
    // place them again.
    if (!indexPara) {
        indexPara = new eTextPara(eRect::fromEdges(0, offset, 40, offset + height / 2));
        indexPara->setFont(font);
        eString number;
        number.setNum(entry->index, 10);
        indexPara->renderString(number, 0);
        indexPara->realign(2);
    }
    painter->renderPara(*indexPara, ePoint(rect.left(), rect.top()));

    if (!namePara) {
        namePara = new eTextPara(eRect::fromEdges(0, offset, width - 50, offset + height / 2));
        namePara->setFont(font);
        namePara->renderString(entry->name, 0);
        namePara->realign(0);
    }
    painter->renderPara(*namePara, ePoint(rect.left() + 50, rect.top()));

    // The music icon under the number; a skin without it shows none.
    if (entry->type == Listentry::ENTRY_STATION) {
        if (const gPixmap *icon = eSkin::getActive()->queryImage("extension.music"))
            painter->blit(*icon, ePoint(rect.left() + 10, rect.top() + EntryHeight / 2));
    }

    if (!entry->url.empty() || !entry->bitrate.empty() || !entry->genre.empty()) {
        if (!infoPara) {
            infoPara = new eTextPara(eRect::fromEdges(0, EntryHeight / 2, width - 50, EntryHeight / 2 + height / 2));
            infoPara->setFont(font);
            infoPara->renderString(infoText(*entry), 0);
            infoPara->realign(0);
        }
        painter->renderPara(*infoPara, ePoint(rect.left() + 50, rect.top()));
    }

    // The top edge of the list's drawing area, whatever row is drawn.
    painter->line(ePoint(0, 0), ePoint(width - 1, 0));
    // Of this rectangle only the row's last pixel line lies inside the row: the
    // separator under each row.
    painter->fill(eRect(ePoint(rect.left(), rect.bottom() - 1), eSize(width, height)));

    return eListBoxEntryText::getText();
}
