#pragma once
// The window's contents, written once against platform/window.h: five bands, repainted in a fixed order by the
// thread of the message loop.

bool lf_createMainWindow();   // at its saved place; false when there is none
void lf_paintAll();           // the paint handler
void lf_createControls();     // the create handler
void lf_enterPressed(int id); // the enter handler: an edit box takes effect
