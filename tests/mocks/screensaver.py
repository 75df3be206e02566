# -*- coding: utf-8 -*-

'''org.freedesktop.ScreenSaver mock template for python-dbusmock

Serves the session's screen saver on the session bus, on
/org/freedesktop/ScreenSaver and (as some desktops also do) /ScreenSaver,
interface org.freedesktop.ScreenSaver: SimulateUserActivity, GetActive,
SetActive, Lock, GetActiveTime, GetSessionIdleTime, Inhibit, UnInhibit, and
the signal ActiveChanged. Nothing here ever unlocks: as on a desktop,
SimulateUserActivity only wakes the screen (and would show the unlock prompt
of a locked session); the screen saver stays active.

Run it as
    /usr/bin/python3 -m dbusmock --template tests/mocks/screensaver.py

Parameters (JSON, optional):
    Active  whether the screen saver (and lock) is active at start (default false)

Calls are logged as usual: GetCalls/ClearCalls on org.freedesktop.DBus.Mock
of each object.
'''

# This program is free software; you can redistribute it and/or modify it under
# the terms of the GNU Lesser General Public License as published by the Free
# Software Foundation; either version 3 of the License, or (at your option) any
# later version.  See http://www.gnu.org/copyleft/lgpl.html for the full text
# of the license.

import dbus

from dbusmock import mockobject

BUS_NAME = 'org.freedesktop.ScreenSaver'
MAIN_OBJ = '/org/freedesktop/ScreenSaver'
MAIN_IFACE = 'org.freedesktop.ScreenSaver'
SYSTEM_BUS = False

SHORT_PATH = '/ScreenSaver'

# What both objects serve: one screen saver. A mock process loads the template once.
state = {'active': False, 'cookie': 0}


def _set_active(active):
    active = bool(active)
    if state['active'] == active:
        return False
    state['active'] = active
    for path in (MAIN_OBJ, SHORT_PATH):
        obj = mockobject.objects.get(path)
        if obj is not None:
            obj.EmitSignal(MAIN_IFACE, 'ActiveChanged', 'b', [dbus.Boolean(active)])
    return True


def GetActive(_obj):
    return dbus.Boolean(state['active'])


def SetActive(_obj, active):
    return dbus.Boolean(_set_active(active))


def Lock(_obj):
    _set_active(True)


def SimulateUserActivity(_obj):
    pass


def Inhibit(_obj, _application, _reason):
    state['cookie'] += 1
    return dbus.UInt32(state['cookie'])


METHODS = [
    ('SimulateUserActivity', '', '', SimulateUserActivity),
    ('GetActive', '', 'b', GetActive),
    ('SetActive', 'b', 'b', SetActive),
    ('Lock', '', '', Lock),
    ('GetActiveTime', '', 'u', 'ret = dbus.UInt32(0)'),
    ('GetSessionIdleTime', '', 'u', 'ret = dbus.UInt32(0)'),
    ('Inhibit', 'ss', 'u', Inhibit),
    ('UnInhibit', 'u', '', ''),
]


def load(mock, parameters):
    # Loaded again on Reset: the state starts over.
    state['active'] = bool(parameters.get('Active', False))
    state['cookie'] = 0
    mock.AddMethods(MAIN_IFACE, METHODS)
    # The template is loaded before the main object is entered in the object table.
    mockobject.objects[MAIN_OBJ] = mock
    if SHORT_PATH not in mockobject.objects:
        mock.AddObject(SHORT_PATH, MAIN_IFACE, {}, METHODS)
