#ifndef CONNUI_CONNECTIVITYUIUTILS_H
#define CONNUI_CONNECTIVITYUIUTILS_H

namespace ConnUi {

// Screen control for dialogs that need the user's attention.
class ConnectivityUIUtils
{
public:
    // Switches the display on.
    static void unblankDisplay();
    // Asks for the screen lock to be lifted, so that the user can answer a dialog.
    static void unlockScreen();
};

} // namespace ConnUi

#endif
