// The libraries that want a word before they are used.
#pragma once

namespace board {

// Initialises what reads codec headers and networks. Once a process, before anything is read. withPlugins
// also finds GStreamer's plugins, which network sources need and which takes a moment.
void initialiseLibraries(bool withPlugins);

} // namespace board
