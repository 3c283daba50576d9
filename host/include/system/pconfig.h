#ifndef TARNWAVE_HOST_SYSTEM_PCONFIG_H
#define TARNWAVE_HOST_SYSTEM_PCONFIG_H

// The image's shared configuration object: state that the image's plug-ins
// share while the box runs (not kept across restarts). GUI thread only.
class pConfig
{
public:
    // The process-wide object, created on first use.
    static pConfig *getInstance();

    // The recording flag: true while the stream recorder runs. Whoever looks
    // at the process table sets it; a confirmed stop clears it at once.
    void setRecording(bool recording) { m_recording = recording; }
    bool isRecording() const { return m_recording; }

    pConfig(const pConfig &) = delete;
    pConfig &operator=(const pConfig &) = delete;

private:
    pConfig() = default;

    bool m_recording = false;
};

#endif
