#pragma once

#include <string>

/// True when FFmpeg can open the file as a movie or sound: a known container holding at
/// least one audio or video stream (`QTMovie canInitWithURL:`).
bool QTMovieCanInitWithPath(const std::string& path);
