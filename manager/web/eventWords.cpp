#include "web/eventWords.h"

#include <algorithm>

namespace manager {
namespace {

// The programs of the PAT come and go with those of the program list, which is read each second.
constexpr EventWords eventWords[] = {
    {EventKind::pidCame, "pidCame", EventSubject::pid},
    {EventKind::pidWent, "pidGone", EventSubject::pid},
    {EventKind::pidChanged, "pidChanged", EventSubject::pid},
    {EventKind::pidScrambled, "pidScrambled", EventSubject::pid},
    {EventKind::pidCleared, "pidClear", EventSubject::pid},
    {EventKind::serviceCame, "programCame", EventSubject::program},
    {EventKind::serviceWent, "programGone", EventSubject::program},
    {EventKind::serviceRenamed, "nameChanged", EventSubject::program},
    {EventKind::serviceScrambled, "programScrambled", EventSubject::program},
    {EventKind::serviceCleared, "programClear", EventSubject::program},
    {EventKind::serviceChanged, "programChanged", EventSubject::program},
    {EventKind::newStream, "newStream", EventSubject::nothing},
    {EventKind::peerWent, "serviceGone", EventSubject::nothing},
    {EventKind::peerCame, "serviceBack", EventSubject::nothing},
    {EventKind::streamWent, "streamGone", EventSubject::nothing},
    {EventKind::streamCame, "streamBack", EventSubject::nothing},
    {EventKind::programCame, nullptr, EventSubject::nothing},
    {EventKind::programWent, nullptr, EventSubject::nothing},
};

} // namespace

const EventWords& wordsFor(EventKind kind) {
    return *std::ranges::find(eventWords, kind, &EventWords::kind);
}

} // namespace manager
