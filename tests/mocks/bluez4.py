# -*- coding: utf-8 -*-

'''BlueZ 4 mock template for python-dbusmock

Serves the parts of the BlueZ 4 D-Bus API that nfc-ui uses, on the system
bus: the manager on "/" (org.bluez.Manager: DefaultAdapter, FindAdapter,
ListAdapters, GetProperties) and one adapter (org.bluez.Adapter:
GetProperties, SetProperty, signal PropertyChanged).

Run it as
    /usr/bin/python3 -m dbusmock --template tests/mocks/bluez4.py --system

Parameters (JSON, optional):
    AdapterPath  object path of the adapter (default "/org/bluez/1000/hci0")
    Address      adapter address (default "00:11:22:33:44:55")
    Name         adapter name (default "nfc-ui test adapter")
    Powered      initial power state (default false)

Test controls, on interface org.bluez.Mock of "/":
    SetError(method, error_name, message)  every later call of that method
        (any object) fails with that D-Bus error, until ClearErrors()
    ClearErrors()
    RemoveAdapter()  takes the adapter object off the bus; DefaultAdapter
        keeps answering its path, as BlueZ does while an adapter goes away
    LeaveBusAfter(method)  the next call of that method still gets its
        answer, but the mock gives up the name org.bluez just before
        answering, as a BlueZ that exits at that moment (restart the mock
        to get the name back)
    AddAdapter()     puts the adapter object back (state reset)
    SetAdapterProperty(name, value)  changes an adapter property and emits
        PropertyChanged
    GetSignatures(method)  the D-Bus signatures of the calls of that method
        that reached the mock, in order ("sv" for a proper SetProperty)

Calls are logged as usual: GetCalls/GetMethodCalls/ClearCalls on
org.freedesktop.DBus.Mock of "/" (manager) and of the adapter path.
'''

# This program is free software; you can redistribute it and/or modify it under
# the terms of the GNU Lesser General Public License as published by the Free
# Software Foundation; either version 3 of the License, or (at your option) any
# later version.  See http://www.gnu.org/copyleft/lgpl.html for the full text
# of the license.

import dbus
import dbus.lowlevel

from dbusmock import mockobject

BUS_NAME = 'org.bluez'
MAIN_OBJ = '/'
MAIN_IFACE = 'org.bluez.Manager'
SYSTEM_BUS = True

ADAPTER_IFACE = 'org.bluez.Adapter'
BLUEZ_MOCK_IFACE = 'org.bluez.Mock'

DEFAULT_ADAPTER_PATH = '/org/bluez/1000/hci0'

# Properties a client may change with SetProperty, and their D-Bus types.
WRITABLE = {
    'Name': dbus.String,
    'Powered': dbus.Boolean,
    'Discoverable': dbus.Boolean,
    'Pairable': dbus.Boolean,
    'PairableTimeout': dbus.UInt32,
    'DiscoverableTimeout': dbus.UInt32,
}


def _manager():
    return mockobject.objects[MAIN_OBJ]


def _fail_if_asked(method):
    error = _manager().bluez_errors.get(method)
    if error is not None:
        raise dbus.exceptions.DBusException(error[1], name=error[0])


def _leave_bus_if_asked(method):
    manager = _manager()
    if manager.bluez_leave_after == method:
        manager.bluez_leave_after = None
        # Synchronous: the bus has dropped the name before the answer below is even sent.
        manager.connection.release_name(BUS_NAME)


def _adapter_properties(parameters):
    return {
        'Address': dbus.String(parameters.get('Address', '00:11:22:33:44:55')),
        'Name': dbus.String(parameters.get('Name', 'nfc-ui test adapter')),
        'Class': dbus.UInt32(0x5a020c),
        'Powered': dbus.Boolean(parameters.get('Powered', False)),
        'Discoverable': dbus.Boolean(False),
        'Pairable': dbus.Boolean(True),
        'PairableTimeout': dbus.UInt32(0),
        'DiscoverableTimeout': dbus.UInt32(180),
        'Discovering': dbus.Boolean(False),
        'Devices': dbus.Array([], signature='o'),
        'UUIDs': dbus.Array([], signature='s'),
    }


# org.bluez.Manager

def DefaultAdapter(manager):
    _fail_if_asked('DefaultAdapter')
    if manager.bluez_adapter_path is None:
        raise dbus.exceptions.DBusException('No such adapter', name='org.bluez.Error.NoSuchAdapter')
    _leave_bus_if_asked('DefaultAdapter')
    return dbus.ObjectPath(manager.bluez_adapter_path)


def FindAdapter(manager, pattern):
    _fail_if_asked('FindAdapter')
    adapter = mockobject.objects.get(manager.bluez_adapter_path or '')
    if adapter is None or pattern not in (manager.bluez_adapter_path.rsplit('/', 1)[-1],
                                          str(adapter.bluez_props['Address'])):
        raise dbus.exceptions.DBusException('No such adapter', name='org.bluez.Error.NoSuchAdapter')
    return dbus.ObjectPath(manager.bluez_adapter_path)


def ListAdapters(manager):
    _fail_if_asked('ListAdapters')
    if manager.bluez_adapter_path in mockobject.objects:
        return dbus.Array([dbus.ObjectPath(manager.bluez_adapter_path)], signature='o')
    return dbus.Array([], signature='o')


def ManagerGetProperties(manager):
    _fail_if_asked('GetProperties')
    return dbus.Dictionary({'Adapters': ListAdapters(manager)}, signature='sv')


# org.bluez.Adapter

def AdapterGetProperties(adapter):
    _fail_if_asked('GetProperties')
    return dbus.Dictionary(adapter.bluez_props, signature='sv')


def AdapterSetProperty(adapter, name, value):
    _fail_if_asked('SetProperty')
    # BlueZ takes the value only as a variant; a plain argument is refused.
    signatures = _manager().bluez_signatures.get('SetProperty', [])
    if signatures and signatures[-1] != 'sv':
        raise dbus.exceptions.DBusException('Invalid arguments in method call',
                                            name='org.bluez.Error.InvalidArguments')
    kind = WRITABLE.get(str(name))
    if kind is None:
        raise dbus.exceptions.DBusException('Invalid arguments in method call',
                                            name='org.bluez.Error.InvalidArguments')
    try:
        converted = kind(value)
    except (TypeError, ValueError) as error:
        raise dbus.exceptions.DBusException('Invalid arguments in method call',
                                            name='org.bluez.Error.InvalidArguments') from error
    _change_property(adapter, str(name), converted)
    _leave_bus_if_asked('SetProperty')


def _change_property(adapter, name, value):
    adapter.bluez_props[name] = value
    adapter.EmitSignal(ADAPTER_IFACE, 'PropertyChanged', 'sv', [name, value])


def _add_adapter(manager):
    path = manager.bluez_adapter_path
    manager.AddObject(path, ADAPTER_IFACE, {}, [
        ('GetProperties', '', 'a{sv}', AdapterGetProperties),
        ('SetProperty', 'sv', '', AdapterSetProperty),
    ])
    mockobject.objects[path].bluez_props = _adapter_properties(manager.bluez_parameters)


def _record_signature(_connection, message):
    # Seen before dispatch: keeps the wire signature of each method call, which the converted
    # arguments of the call log no longer show (a boolean and a variant holding one look alike there).
    if isinstance(message, dbus.lowlevel.MethodCallMessage) and message.get_destination() is not None:
        manager = mockobject.objects.get(MAIN_OBJ)
        if manager is not None and hasattr(manager, 'bluez_signatures'):
            manager.bluez_signatures.setdefault(str(message.get_member()), []).append(
                str(message.get_signature() or ''))
    return dbus.lowlevel.HANDLER_RESULT_NOT_YET_HANDLED


def load(mock, parameters):
    mock.bluez_parameters = dict(parameters or {})
    mock.bluez_adapter_path = mock.bluez_parameters.get('AdapterPath', DEFAULT_ADAPTER_PATH)
    mock.bluez_errors = {}
    mock.bluez_signatures = {}
    mock.bluez_leave_after = None

    mock.AddMethods(MAIN_IFACE, [
        ('DefaultAdapter', '', 'o', DefaultAdapter),
        ('FindAdapter', 's', 'o', FindAdapter),
        ('ListAdapters', '', 'ao', ListAdapters),
        ('GetProperties', '', 'a{sv}', ManagerGetProperties),
    ])
    # The template is loaded before "/" is entered in the object table.
    mockobject.objects[MAIN_OBJ] = mock
    _add_adapter(mock)
    # Reset() loads the template again on the same connection: one filter is enough.
    if not getattr(mock.connection, 'bluez4_filter_installed', False):
        mock.connection.add_message_filter(_record_signature)
        mock.connection.bluez4_filter_installed = True


# Test controls

@dbus.service.method(BLUEZ_MOCK_IFACE, in_signature='sss', out_signature='')
def SetError(self, method, error_name, message):
    '''Make every later call of method fail with the D-Bus error error_name'''
    _manager().bluez_errors[str(method)] = (str(error_name), str(message))


@dbus.service.method(BLUEZ_MOCK_IFACE, in_signature='', out_signature='')
def ClearErrors(self):
    '''Let every method succeed again'''
    _manager().bluez_errors.clear()


@dbus.service.method(BLUEZ_MOCK_IFACE, in_signature='', out_signature='')
def RemoveAdapter(self):
    '''Take the adapter object off the bus; DefaultAdapter still returns its path'''
    manager = _manager()
    if manager.bluez_adapter_path in mockobject.objects:
        manager.RemoveObject(manager.bluez_adapter_path)


@dbus.service.method(BLUEZ_MOCK_IFACE, in_signature='', out_signature='')
def AddAdapter(self):
    '''Put the adapter object (back) on the bus, in its initial state'''
    manager = _manager()
    if manager.bluez_adapter_path not in mockobject.objects:
        _add_adapter(manager)


@dbus.service.method(BLUEZ_MOCK_IFACE, in_signature='s', out_signature='')
def LeaveBusAfter(self, method):
    '''Give up the bus name right before answering the next call of method'''
    _manager().bluez_leave_after = str(method)


@dbus.service.method(BLUEZ_MOCK_IFACE, in_signature='sv', out_signature='')
def SetAdapterProperty(self, name, value):
    '''Change an adapter property as the daemon would, with PropertyChanged'''
    adapter = mockobject.objects.get(_manager().bluez_adapter_path)
    if adapter is None:
        raise dbus.exceptions.DBusException('No adapter', name='org.bluez.Error.NoSuchAdapter')
    _change_property(adapter, str(name), value)


@dbus.service.method(BLUEZ_MOCK_IFACE, in_signature='s', out_signature='as')
def GetSignatures(self, method):
    '''The wire signatures of the calls of method, in order'''
    return dbus.Array(_manager().bluez_signatures.get(str(method), []), signature='s')
