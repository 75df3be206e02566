# -*- coding: utf-8 -*-

'''feedbackd test double for python-dbusmock

Serves the haptic/LED/sound feedback daemon of Linux phones on the session
bus: org.sigxcpu.Feedback on /org/sigxcpu/Feedback, with TriggerFeedback
(answers a new id and reports the feedback ended at once with
FeedbackEnded(id, 0)), EndFeedback (FeedbackEnded(id, 1)) and the property
Profile.

Run it as
    /usr/bin/python3 -m dbusmock --template tests/mocks/feedbackd.py

Parameters (JSON, optional):
    Profile  the feedback profile ("full", "quiet" or "silent"; default "full")

To make TriggerFeedback fail, replace it with AddMethod (interface
org.sigxcpu.Feedback, code that raises a dbus.exceptions.DBusException).
Calls are logged as usual: GetCalls/ClearCalls on org.freedesktop.DBus.Mock
of /org/sigxcpu/Feedback.
'''

# This program is free software; you can redistribute it and/or modify it under
# the terms of the GNU Lesser General Public License as published by the Free
# Software Foundation; either version 3 of the License, or (at your option) any
# later version.  See http://www.gnu.org/copyleft/lgpl.html for the full text
# of the license.

import dbus

BUS_NAME = 'org.sigxcpu.Feedback'
MAIN_OBJ = '/org/sigxcpu/Feedback'
MAIN_IFACE = 'org.sigxcpu.Feedback'
SYSTEM_BUS = False


def load(mock, parameters):
    mock.feedback_next_id = 1
    mock.AddProperty(MAIN_IFACE, 'Profile', dbus.String(parameters.get('Profile', 'full')))
    mock.AddMethods(MAIN_IFACE, [
        ('TriggerFeedback', 'ssa{sv}i', 'u',
         'ret = dbus.UInt32(self.feedback_next_id)\n'
         'self.feedback_next_id += 1\n'
         'self.EmitSignal("org.sigxcpu.Feedback", "FeedbackEnded", "uu", [ret, dbus.UInt32(0)])'),
        ('EndFeedback', 'u', '',
         'self.EmitSignal("org.sigxcpu.Feedback", "FeedbackEnded", "uu", [args[0], dbus.UInt32(1)])'),
    ])
