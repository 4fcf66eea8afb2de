#pragma once

/// A loaded sound the countdown can play. play() starts the whole sound once and returns at once; while
/// that sound is still playing it does nothing (a reminder that falls due then is skipped, never queued).
class Playable
{
public:
    virtual ~Playable() = default;
    virtual void play() = 0;
};
