# -*- coding: utf-8 -*-

'''Notes application mock template for python-dbusmock

Serves the one method of the notes application that nfc-ui calls, on the
session bus: openNote(as) on "/" with interface
"com.orvan.kirsa.silvane.NotesInterface". The call returns nothing.

Run it as
    /usr/bin/python3 -m dbusmock --template tests/mocks/notes.py

Test controls, on interface com.orvan.Notes.Mock of "/":
    SetOpenNoteError(error_name, message)  every later openNote call fails
        with that D-Bus error (it is still logged), until ClearOpenNoteError()
    ClearOpenNoteError()

Calls are logged as usual: GetCalls/GetMethodCalls/ClearCalls on
org.freedesktop.DBus.Mock of "/".
'''

# This program is free software; you can redistribute it and/or modify it under
# the terms of the GNU Lesser General Public License as published by the Free
# Software Foundation; either version 3 of the License, or (at your option) any
# later version.  See http://www.gnu.org/copyleft/lgpl.html for the full text
# of the license.

import dbus

from dbusmock import mockobject

BUS_NAME = 'com.orvan.Notes'
MAIN_OBJ = '/'
MAIN_IFACE = 'com.orvan.kirsa.silvane.NotesInterface'
SYSTEM_BUS = False

NOTES_MOCK_IFACE = 'com.orvan.Notes.Mock'


def _notes():
    return mockobject.objects[MAIN_OBJ]


def OpenNote(self, uids):
    # The call is in the mock's call log before this runs, so a failing call is still seen there.
    error = getattr(_notes(), 'notes_open_error', None)
    if error is not None:
        raise dbus.exceptions.DBusException(error[1], name=error[0])


def load(mock, parameters):
    mock.notes_open_error = None
    mock.AddMethods(MAIN_IFACE, [
        ('openNote', 'as', '', OpenNote),
    ])
    # The template is loaded before "/" is entered in the object table.
    mockobject.objects[MAIN_OBJ] = mock


# Test controls

@dbus.service.method(NOTES_MOCK_IFACE, in_signature='ss', out_signature='')
def SetOpenNoteError(self, error_name, message):
    '''Make every later openNote call fail with the D-Bus error error_name'''
    _notes().notes_open_error = (str(error_name), str(message))


@dbus.service.method(NOTES_MOCK_IFACE, in_signature='', out_signature='')
def ClearOpenNoteError(self):
    '''Let openNote succeed again'''
    _notes().notes_open_error = None
