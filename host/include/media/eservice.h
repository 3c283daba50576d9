#ifndef TARNWAVE_HOST_MEDIA_ESERVICE_H
#define TARNWAVE_HOST_MEDIA_ESERVICE_H

// The box's media service: references to what can be played, the handlers
// that play them, and the registry that finds the handler for a type.
//
//   eServiceReference ref(eServiceReference::idStream, 0, "http://host:8000/stream");
//   eServiceHandler *handler = eServiceInterface::getInstance()->getServiceHandler(ref.type);
//   if (handler) {
//       handler->addRef(ref);
//       handler->play(ref, 0);
//       handler->removeRef(ref);
//   }
//   ... every second: handler->getState() == 0 ? handler->getInfo(0), handler->getInfo(1) ...
//   handler->stop(0);
//
// The registry lives in the host core. The handler for URL streams (type 4096)
// is in libboxhost_media.so and registers itself when that library is loaded;
// without it getServiceHandler(4096) is null. Everything here belongs to the
// GUI thread.
//
// The URL stream handler (type 4096):
// - plays only http:, https:, icy: and icyx: addresses (the scheme in any
//   case); any other address (file:, rtsp:, one without a scheme) is refused
//   by play at once, with one warning in the log;
// - follows redirects, accepts old servers that answer "ICY 200 OK", and
//   gives titles as UTF-8 even when the station sends Latin-1 or
//   Windows-1252;
// - reopens a live stream that breaks or ends after it played: after 1, 2, 4,
//   8 and 15 s, then every 15 s, for up to 5 minutes from the break (the
//   environment variable TARNWAVE_RECONNECT_WINDOW, in whole seconds, sets
//   another window). Meanwhile getState answers stateRunning and the state
//   text is "connecting..."; the last title stays until the reopened stream
//   announces one. A stream that plays again starts afresh at its next break.
//   When the window passed without success, getState answers stateFailed.
//   A stream that never played (a wrong address, a refused connection, a
//   page instead of audio) fails at once and is not reopened.

#include "base/estring.h"
#include "base/signals.h"

#include <map>
#include <mutex>

// What to play: a type that selects the handler, flags, a path (for URL
// streams the address) and eight data words, all zero unless set.
class eServiceReference
{
public:
    // The type of a stream played from a URL given as the path.
    static constexpr int idStream = 0x1000;

    eServiceReference() = default;
    eServiceReference(int type_, int flags_, const eString &path_) : type(type_), flags(flags_), path(path_) { }

    int type = 0;
    int flags = 0;
    eString path;
    int data[8] = {};

    bool operator==(const eServiceReference &other) const = default;
};

// Plays references of one type. The three steps that start playback are
// addRef, play and removeRef; afterwards the caller polls getState and
// getInfo and ends playback with stop. Handlers belong to whoever registered
// them; callers borrow them and never delete them.
class eServiceHandler : public SigC::Object
{
public:
    // What getState returns.
    static constexpr int stateRunning = 0; // connecting, buffering, playing or reconnecting: all in order
    static constexpr int stateFailed = -1; // not playable, or broke down and given up
    static constexpr int stateStopped = 1; // nothing started yet, or stopped
    static constexpr int stateEnded = 2; // a file (its length known) played to its end; live streams are reopened

    // The selectors of getInfo.
    static constexpr int infoStateText = 0;
    static constexpr int infoTitle = 1;

    eServiceHandler() = default;
    ~eServiceHandler() override = default;
    eServiceHandler(const eServiceHandler &) = delete;
    eServiceHandler &operator=(const eServiceHandler &) = delete;

    // Takes a reference on and releases it again. The handler counts them
    // (referenceCount); playback does not depend on them: play keeps its own
    // copy, so releasing the reference right after play goes on playing.
    virtual void addRef(const eServiceReference &ref);
    virtual void removeRef(const eServiceReference &ref);
    // How many references to `ref` are taken on and not yet released.
    int referenceCount(const eServiceReference &ref) const;

    // Starts playing `ref`, stopping whatever this handler played before;
    // `workaround` is reserved and passed as 0. Returns 0 when playback was
    // started (it may still fail later: see getState), -1 when it could not be
    // (getState then answers stateFailed).
    virtual int play(const eServiceReference &ref, int workaround) = 0;

    // The status query: stateRunning (0) while the service runs in order,
    // otherwise one of the other state values.
    virtual int getState() = 0;

    // The text query. infoStateText (0): the state text, in the message
    // catalogue's language, while getState answers stateRunning:
    //   "connecting..."  connecting to the stream, or waiting to reopen it
    //   "buffering..."   it is about to play, or it plays but no sound has
    //                    come for a moment (the station falls silent)
    //   "playing..."     the stream plays and its sound arrives
    // and "" while nothing runs (stopped, failed, ended). infoTitle (1): the
    // title the stream announces (UTF-8), empty until one arrives. Other
    // selectors give "".
    virtual eString getInfo(int selector) = 0;

    // Ends playback, a reopen still waiting included, and frees what it held;
    // `workaround` is reserved and passed as 0. Returns 0. Stopping a stopped
    // handler does nothing.
    virtual int stop(int workaround) = 0;

private:
    std::map<eString, int> m_references; // path -> references taken on and not released
};

// The registry of handlers, one per type.
class eServiceInterface
{
public:
    // The process-wide registry, created on first use.
    static eServiceInterface *getInstance();

    // The handler registered for `type`, or null when there is none.
    eServiceHandler *getServiceHandler(int type);

    // Registers `handler` for `type`, replacing an earlier one; registering the
    // same handler again is harmless. The handler must outlive its registration.
    void registerHandler(int type, eServiceHandler *handler);
    // Removes the registration of `handler` for `type`; does nothing when
    // another handler (or none) is registered for it.
    void unregisterHandler(int type, eServiceHandler *handler);

    eServiceInterface(const eServiceInterface &) = delete;
    eServiceInterface &operator=(const eServiceInterface &) = delete;

private:
    eServiceInterface() = default;

    mutable std::mutex m_mutex; // registration may happen while a library loads
    std::map<int, eServiceHandler *> m_handlers;
};

#endif
