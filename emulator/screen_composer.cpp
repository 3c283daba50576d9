#include "screen_composer.h"

#include "tv_picture.h"

#include "gui/gpainter.h"
#include "gui/gpixmap.h"
#include "gui/widgets/escreen.h"
#include "system/decoder.h"

namespace emulator {

ScreenComposer::ScreenComposer()
    : m_screen(std::make_unique<gPixmap>(eScreen::osd().size())), m_started(std::chrono::steady_clock::now())
{
}

ScreenComposer::~ScreenComposer() = default;

const gPixmap &ScreenComposer::composeScreen()
{
    eScreen &osd = eScreen::osd();
    if (osd.hasDamage())
        osd.compose();
    const auto running =
        std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - m_started);
    paintTvPicture(*m_screen, Decoder::picture(), running, std::chrono::system_clock::now());
    gPainter painter(*m_screen);
    painter.blit(osd.pixmap(), ePoint(0, 0), eRect(), gPainter::BF_ALPHA_BLEND);
    return *m_screen;
}

const gPixmap &ScreenComposer::composeLcd()
{
    eScreen &lcd = eScreen::lcd();
    if (lcd.hasDamage())
        lcd.compose();
    return lcd.pixmap();
}

bool ScreenComposer::tvMoves() const
{
    return tvPictureMoves(Decoder::picture());
}

} // namespace emulator
