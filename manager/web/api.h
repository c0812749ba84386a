// The paths of the interface below /api/, but for the streams of events.
#pragma once

#include "exchange/rotation.h"
#include "web/livePicture.h"
#include "web/webAnswer.h"

namespace manager {

// Answers by what is known at this time; what somebody looks at goes to the rotation.
WebAnswer answerApi(const WebRequest& request, LivePicture& live, Rotation& rotation, PictureTime wallNow,
                    Time now);

} // namespace manager
