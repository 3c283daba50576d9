#ifndef TARNWAVE_STATION_SERVER_TUNE_H
#define TARNWAVE_STATION_SERVER_TUNE_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace station {

// Each station's own little tune, made up from its id: eight notes of a
// pentatonic scale over a root that also depends on the id, each note a
// plucked tone (a sine with its octave, quick attack, decaying). The tune
// fills exactly `samples` mono samples and loops seamlessly: every note fades
// to silence at its end.
inline constexpr int notesPerTune = 8;

std::vector<std::int16_t> synthesiseTune(int stationId, int sampleRate, std::size_t samples);

} // namespace station

#endif
