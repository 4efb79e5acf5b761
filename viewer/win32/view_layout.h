/// Size and place of image windows, their scroll bars, zooming and full screen.
#pragma once

#include "viewer/win32/image_view.h"

namespace imx {

/// Gives a new window its size and place on the screen.
void PlaceNewWindow(ImageView& view);

/// Gives the window the size of its new image where it shows all of it pixel by pixel.
void FollowImage(ImageView& view);

/// The window's size, the zoom or the image changed: scroll bars, and everything is painted anew.
void LayOut(ImageView& view);

/// Zooms about a point of the window, or about its middle.
void ZoomView(ImageView& view, Zoom zoom, Point anchor);
void ZoomView(ImageView& view, Zoom zoom);
void FitView(ImageView& view);

/// Moves what is seen by so many pixels of the screen.
void ScrollView(ImageView& view, std::int32_t across, std::int32_t down);
/// Answers WM_HSCROLL and WM_VSCROLL.
void OnScrollBar(ImageView& view, int bar, int code);

/// Gives the window the whole screen, or takes it back.
void SetFullScreen(ImageView& view, bool full);

/// Follows a change of the screen's resolution, to the place that the system suggests.
void OnDpiChanged(ImageView& view, const RECT& suggested);

}  // namespace imx
