# -*- coding: utf-8 -*-

'''oFono mock template for python-dbusmock, with nfc-ui's corrections

python-dbusmock's own "ofono" template, with:
- org.ofono.VoiceCallManager.Dial answering an object path ("o"), as oFono
  does (the stock template answers "s", which a client that checks the
  signature refuses);
- org.ofono.MessageManager on every modem (GetProperties, SetProperty,
  SendMessage(s to, s text) -> o), listed in the modem's Interfaces.

Run it as
    /usr/bin/python3 -m dbusmock --template tests/mocks/ofono.py --system

Parameters are those of the stock template ("no_modem", "ModemName").

Test controls, on interface org.freedesktop.DBus.Mock of "/":
    AddModem(name, properties)  as in the stock template, corrected
    SetModemOnline(name, online)  the modem's Online property, with
        PropertyChanged (false: flight mode)

Calls are logged on each modem object ("Dial", "SendMessage", ...).
'''

# This program is free software; you can redistribute it and/or modify it under
# the terms of the GNU Lesser General Public License as published by the Free
# Software Foundation; either version 3 of the License, or (at your option) any
# later version.  See http://www.gnu.org/copyleft/lgpl.html for the full text
# of the license.

import time

import dbus
import dbus.service

import dbusmock
from dbusmock import mockobject
from dbusmock.templates import ofono as stock

BUS_NAME = stock.BUS_NAME
MAIN_OBJ = stock.MAIN_OBJ
MAIN_IFACE = stock.MAIN_IFACE
SYSTEM_BUS = stock.SYSTEM_BUS

VOICE_IFACE = 'org.ofono.VoiceCallManager'
MESSAGE_IFACE = 'org.ofono.MessageManager'

# The stock template's D-Bus methods, so that dbusmock finds them in this module too (except the ones
# replaced below).
for _symbol in dir(stock):
    _fn = getattr(stock, _symbol)
    if hasattr(_fn, '_dbus_interface') and _symbol not in ('AddModem', 'Dial'):
        globals()[_symbol] = _fn


def load(mock, parameters):
    stock.load(mock, parameters)


@dbus.service.method(VOICE_IFACE, in_signature='ss', out_signature='o')
def _dial(modem, number, hide_callerid):
    modem.log('Dial' + mockobject._format_args([number, hide_callerid]))  # pylint: disable=protected-access
    modem.call_log.append((int(time.time()), 'Dial', [str(number), str(hide_callerid)]))
    modem.MethodCalled('Dial', [str(number), str(hide_callerid)])
    return dbus.ObjectPath(stock.Dial(modem, number, hide_callerid))


def _send_message(modem, to, text):
    modem.message_counter += 1
    return dbus.ObjectPath(f'{modem._object_path}/message_{modem.message_counter:02}')  # pylint: disable=protected-access


def _correct(modem):
    modem.methods.setdefault(VOICE_IFACE, {})['Dial'] = (_dial._dbus_in_signature, _dial._dbus_out_signature, '',
                                                         _dial)
    modem.message_counter = 0
    modem.AddProperty(MESSAGE_IFACE, 'ServiceCenterAddress', dbus.String('+123456789'))
    modem.AddProperty(MESSAGE_IFACE, 'UseDeliveryReports', dbus.Boolean(False))
    modem.AddProperty(MESSAGE_IFACE, 'Bearer', dbus.String('cs-preferred'))
    modem.AddProperty(MESSAGE_IFACE, 'Alphabet', dbus.String('default'))
    modem.AddMethods(MESSAGE_IFACE, [
        ('GetProperties', '', 'a{sv}', 'ret = self.GetAll("org.ofono.MessageManager")'),
        ('SetProperty', 'sv', '', 'self.Set("org.ofono.MessageManager", args[0], args[1]); '
                                  'self.EmitSignal("org.ofono.MessageManager", "PropertyChanged", "sv", args)'),
        ('SendMessage', 'ss', 'o', _send_message),
        ('GetMessages', '', 'a(oa{sv})', 'ret = dbus.Array([], signature="(oa{sv})")'),
    ])
    interfaces = list(modem.Get('org.ofono.Modem', 'Interfaces'))
    if MESSAGE_IFACE not in interfaces:
        interfaces.append(MESSAGE_IFACE)
        modem.Set('org.ofono.Modem', 'Interfaces', dbus.Array(interfaces, signature='s'))


@dbus.service.method(dbusmock.MOCK_IFACE, in_signature='sa{sv}', out_signature='s')
def AddModem(self, name, properties):
    '''Add a modem as the stock template does, with Dial answering "o" and a MessageManager'''
    path = stock.AddModem(self, name, properties)
    _correct(mockobject.objects[path])
    return path


@dbus.service.method(dbusmock.MOCK_IFACE, in_signature='sb', out_signature='')
def SetModemOnline(self, name, online):
    '''Set the modem's Online property (false: flight mode), with PropertyChanged'''
    modem = mockobject.objects['/' + str(name)]
    modem.Set('org.ofono.Modem', 'Online', dbus.Boolean(online))
    modem.EmitSignal('org.ofono.Modem', 'PropertyChanged', 'sv', ['Online', dbus.Boolean(online, variant_level=1)])
