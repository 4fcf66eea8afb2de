#pragma once

// Where the panel goes: its first place, the place it had last time, and back into sight when a screen
// goes away or a drag leaves it almost off every screen. Pure functions on rectangles, so the rules are
// tested without a window.

#include <QList>
#include <QRect>
#include <QSize>
#include <QString>

#include <optional>

namespace PanelPlacement {

/// The least of the panel that stays on a screen: enough to see it is there and to take hold of it with
/// the pointer (a finger's width, and about the height of the digits of the smallest panel). A smaller
/// panel must be wholly on a screen.
inline constexpr QSize MinimumInSight{64, 32};

/// Top right of the area with a margin: out of the way of a slide's title and content, yet in sight.
QRect defaultFrame(QSize size, const QRect& area);

/// Whether at least MinimumInSight of the frame (or all of a smaller frame) is on one of the screens.
bool isInSight(const QRect& frame, const QList<QRect>& screens);

/// The frame unchanged when it is in sight on one of the screens; otherwise moved wholly into the usable
/// area of the screen nearest to it (shrunk to that area if it is larger). The two lists are in step: a
/// screen's whole geometry, and the part of it not taken by docks and bars.
QRect keptInSight(const QRect& frame, const QList<QRect>& screens, const QList<QRect>& usableAreas);

/// A place as it is stored: "x,y,width,height" and the screen's name after a semicolon.
QString describe(const QRect& frame, const QString& screenName);

struct Place
{
    QRect frame;
    QString screenName;
};

/// The place a stored text describes; nothing for an empty, malformed or empty-sized one.
std::optional<Place> parse(const QString& text);

} // namespace PanelPlacement
