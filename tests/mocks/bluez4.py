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
        (any object) fails with that D-Bus error, until ClearErrors();
        method is a plain name ("Connect") or qualified by its interface
        ("org.bluez.Headset.Connect")
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
    AddDevice(address, properties)  a remote device the adapter knows, at
        <adapter>/dev_XX_XX_XX_XX_XX_XX, appended to the adapter's Devices.
        properties (a{sv}) override the defaults (Name, Class, UUIDs,
        Paired, Trusted, Connected, LegacyPairing, ...); the extra key
        "AudioInterfaces" (as) lists the audio interfaces the device
        object offers (default: org.bluez.Audio, org.bluez.Headset and
        org.bluez.AudioSink), "AudioState" (s) their initial State
    SetDeviceProperty(address, name, value)  with PropertyChanged
    SetAudioState(address, state)  the State of every audio interface of
        the device, with PropertyChanged on each
    SetPairing(address, behaviour)  what CreatePairedDevice(address) does
        (a{sv}): "Agent" (as) the agent calls to make in order, among
        RequestPinCode, RequestPasskey, DisplayPasskey (ou, as BlueZ 4.101
        sends it), DisplayPasskeyEntered (ouy), DisplayPinCode,
        RequestConfirmation; "Error" (s) the error to answer with after
        them; "Hang" (b) never answer (until CancelDeviceCreation);
        "Properties" (a{sv}) of the device it creates. An agent that
        answers with an error fails the pairing with
        org.bluez.Error.AuthenticationRejected. A device that is already
        paired gets org.bluez.Error.AlreadyExists.
    AgentReplies()  what the agents answered, in order, as
        "Method:answer" or "Method:error:<error name>"

Calls are logged as usual: GetCalls/GetMethodCalls/ClearCalls on
org.freedesktop.DBus.Mock of "/" (manager), of the adapter path and of each
device path (the audio interfaces' calls as "Interface.Method", e.g.
"org.bluez.Headset.Connect", so that the fallbacks can be told apart).
'''

# This program is free software; you can redistribute it and/or modify it under
# the terms of the GNU Lesser General Public License as published by the Free
# Software Foundation; either version 3 of the License, or (at your option) any
# later version.  See http://www.gnu.org/copyleft/lgpl.html for the full text
# of the license.

import time

import dbus
import dbus.lowlevel
import dbus.service

from dbusmock import mockobject

BUS_NAME = 'org.bluez'
MAIN_OBJ = '/'
MAIN_IFACE = 'org.bluez.Manager'
SYSTEM_BUS = True

ADAPTER_IFACE = 'org.bluez.Adapter'
DEVICE_IFACE = 'org.bluez.Device'
AGENT_IFACE = 'org.bluez.Agent'
AUDIO_IFACE = 'org.bluez.Audio'
AUDIO_IFACES = [AUDIO_IFACE, 'org.bluez.Headset', 'org.bluez.AudioSink']
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


def _error_for(method, interface=None):
    errors = _manager().bluez_errors
    if interface is not None and interface + '.' + method in errors:
        return errors[interface + '.' + method]
    return errors.get(method)


def _fail_if_asked(method, interface=None):
    error = _error_for(method, interface)
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


def FindDevice(adapter, address):
    _fail_if_asked('FindDevice')
    path = _device_path(str(address))
    if path not in mockobject.objects:
        raise dbus.exceptions.DBusException('Device does not exist', name='org.bluez.Error.DoesNotExist')
    return dbus.ObjectPath(path)


def ListDevices(adapter):
    _fail_if_asked('ListDevices')
    return dbus.Array(adapter.bluez_props['Devices'], signature='o')


def RemoveDevice(adapter, path):
    _fail_if_asked('RemoveDevice')
    path = str(path)
    if path not in mockobject.objects:
        raise dbus.exceptions.DBusException('Device does not exist', name='org.bluez.Error.DoesNotExist')
    _manager().RemoveObject(path)
    devices = [p for p in adapter.bluez_props['Devices'] if str(p) != path]
    _change_property(adapter, 'Devices', dbus.Array(devices, signature='o'))
    adapter.EmitSignal(ADAPTER_IFACE, 'DeviceRemoved', 'o', [dbus.ObjectPath(path)])


def CancelDeviceCreation(adapter, address):
    _fail_if_asked('CancelDeviceCreation')
    pending = _manager().bluez_pending.pop(str(address).upper(), None)
    if pending is None:
        raise dbus.exceptions.DBusException('Does not exist', name='org.bluez.Error.DoesNotExist')
    pending[1](dbus.exceptions.DBusException('Authentication Canceled',
                                             name='org.bluez.Error.AuthenticationCanceled'))


def _log_call(obj, name, args):
    obj.log(name + mockobject._format_args(args))  # pylint: disable=protected-access
    obj.call_log.append((int(time.time()), name, args))
    obj.MethodCalled(name, args)


def _add_custom_method(obj, interface, name, method):
    # A hand-made dbus-python method in dbusmock's method table: for replies given later and for call
    # log names of their own.
    obj.methods.setdefault(interface, {})[name] = (method._dbus_in_signature, method._dbus_out_signature, '',
                                                   method)


@dbus.service.method(ADAPTER_IFACE, in_signature='sos', out_signature='o', sender_keyword='sender',
                     async_callbacks=('reply', 'error'))
def _create_paired_device(adapter, address, agent, capability, sender=None, reply=None, error=None):
    address = str(address).upper()
    _log_call(adapter, 'CreatePairedDevice', [address, str(agent), str(capability)])
    failure = _error_for('CreatePairedDevice')
    if failure is not None:
        error(dbus.exceptions.DBusException(failure[1], name=failure[0]))
        return
    path = _device_path(address)
    device = mockobject.objects.get(path)
    if device is not None and device.bluez_props.get('Paired'):
        error(dbus.exceptions.DBusException('Already Exists', name='org.bluez.Error.AlreadyExists'))
        return
    behaviour = _manager().bluez_pairing.get(address, {})
    steps = [str(step) for step in behaviour.get('Agent', [])]
    agent_proxy = adapter.connection.get_object(sender, str(agent), introspect=False)

    def finish():
        if behaviour.get('Hang'):
            _manager().bluez_pending[address] = (reply, error)
            return
        if behaviour.get('Error'):
            error(dbus.exceptions.DBusException('Pairing failed', name=str(behaviour['Error'])))
            return
        properties = dict(behaviour.get('Properties', {}))
        properties['Paired'] = dbus.Boolean(True)
        if path in mockobject.objects:
            _set_device_property(mockobject.objects[path], 'Paired', dbus.Boolean(True))
        else:
            _add_device(address, properties)
        reply(dbus.ObjectPath(path))

    def step(index):
        if index == len(steps):
            finish()
            return
        name = steps[index]
        device_path = dbus.ObjectPath(path)
        if name == 'RequestPinCode':
            call, args = 'RequestPinCode', [device_path]
        elif name == 'RequestPasskey':
            call, args = 'RequestPasskey', [device_path]
        elif name == 'DisplayPasskey':
            call, args = 'DisplayPasskey', [device_path, dbus.UInt32(123456)]
        elif name == 'DisplayPasskeyEntered':
            call, args = 'DisplayPasskey', [device_path, dbus.UInt32(123456), dbus.Byte(0)]
        elif name == 'DisplayPinCode':
            call, args = 'DisplayPinCode', [device_path, dbus.String('0000')]
        elif name == 'RequestConfirmation':
            call, args = 'RequestConfirmation', [device_path, dbus.UInt32(123456)]
        else:
            error(dbus.exceptions.DBusException('Unknown agent step ' + name, name='org.bluez.Error.Failed'))
            return

        def answered(*values):
            answer = str(values[0]) if values else ''
            _manager().bluez_agent_replies.append(name + ':' + answer)
            step(index + 1)

        def refused(exception):
            _manager().bluez_agent_replies.append(name + ':error:' + str(exception.get_dbus_name()))
            error(dbus.exceptions.DBusException('Authentication Rejected',
                                                name='org.bluez.Error.AuthenticationRejected'))

        getattr(agent_proxy, call)(*args, dbus_interface=AGENT_IFACE, reply_handler=answered,
                                   error_handler=refused, timeout=30)

    step(0)


def _add_adapter(manager):
    path = manager.bluez_adapter_path
    manager.AddObject(path, ADAPTER_IFACE, {}, [
        ('GetProperties', '', 'a{sv}', AdapterGetProperties),
        ('SetProperty', 'sv', '', AdapterSetProperty),
        ('FindDevice', 's', 'o', FindDevice),
        ('ListDevices', '', 'ao', ListDevices),
        ('RemoveDevice', 'o', '', RemoveDevice),
        ('CancelDeviceCreation', 's', '', CancelDeviceCreation),
    ])
    adapter = mockobject.objects[path]
    adapter.bluez_props = _adapter_properties(manager.bluez_parameters)
    _add_custom_method(adapter, ADAPTER_IFACE, 'CreatePairedDevice', _create_paired_device)


# Remote devices

def _device_path(address):
    return _manager().bluez_adapter_path + '/dev_' + address.upper().replace(':', '_')


def _device_properties(address, overrides):
    properties = {
        'Address': dbus.String(address),
        'Name': dbus.String('Device ' + address),
        'Alias': dbus.String('Device ' + address),
        'Class': dbus.UInt32(0x240404),
        'Icon': dbus.String('audio-card'),
        'UUIDs': dbus.Array([], signature='s'),
        'Paired': dbus.Boolean(False),
        'Connected': dbus.Boolean(False),
        'Trusted': dbus.Boolean(False),
        'Blocked': dbus.Boolean(False),
        'LegacyPairing': dbus.Boolean(False),
        'Adapter': dbus.ObjectPath(_manager().bluez_adapter_path),
    }
    for key, value in overrides.items():
        if key in ('AudioInterfaces', 'AudioState'):
            continue
        properties[str(key)] = value
    if 'Name' in overrides and 'Alias' not in overrides:
        properties['Alias'] = overrides['Name']
    return properties


def DeviceGetProperties(device):
    _fail_if_asked('GetProperties', DEVICE_IFACE)
    return dbus.Dictionary(device.bluez_props, signature='sv')


def DeviceSetProperty(device, name, value):
    _fail_if_asked('SetProperty', DEVICE_IFACE)
    kind = {'Trusted': dbus.Boolean, 'Blocked': dbus.Boolean, 'Alias': dbus.String}.get(str(name))
    if kind is None:
        raise dbus.exceptions.DBusException('Invalid arguments in method call',
                                            name='org.bluez.Error.InvalidArguments')
    _set_device_property(device, str(name), kind(value))


def _set_device_property(device, name, value):
    device.bluez_props[name] = value
    device.EmitSignal(DEVICE_IFACE, 'PropertyChanged', 'sv', [name, value])


def _audio_method(interface, name, in_signature, out_signature):
    # The audio interfaces share method names; each is logged as "Interface.Method".
    def run(device, *args):
        _log_call(device, interface + '.' + name, list(args))
        _fail_if_asked(name, interface)
        if name == 'Connect':
            _set_audio_state(device, interface, 'connecting')
            _set_audio_state(device, interface, 'connected')
            return None
        if name == 'Disconnect':
            if device.bluez_audio_state[interface] == 'disconnected':
                raise dbus.exceptions.DBusException('Device not Connected', name='org.bluez.Error.NotConnected')
            _set_audio_state(device, interface, 'disconnected')
            return None
        if name == 'IsConnected':
            return dbus.Boolean(device.bluez_audio_state[interface] in ('connected', 'playing'))
        return dbus.Dictionary({'State': dbus.String(device.bluez_audio_state[interface])}, signature='sv')

    method = dbus.service.method(interface, in_signature=in_signature, out_signature=out_signature)(run)
    method.__name__ = name
    return method


def _set_audio_state(device, interface, state):
    device.bluez_audio_state[interface] = state
    device.EmitSignal(interface, 'PropertyChanged', 'sv', ['State', dbus.String(state, variant_level=1)])


def _add_device(address, overrides):
    manager = _manager()
    adapter = mockobject.objects[manager.bluez_adapter_path]
    path = _device_path(address)
    manager.AddObject(path, DEVICE_IFACE, {}, [
        ('GetProperties', '', 'a{sv}', DeviceGetProperties),
        ('SetProperty', 'sv', '', DeviceSetProperty),
    ])
    device = mockobject.objects[path]
    device.bluez_props = _device_properties(address, overrides)
    interfaces = [str(i) for i in overrides.get('AudioInterfaces', AUDIO_IFACES)]
    state = str(overrides.get('AudioState', 'disconnected'))
    device.bluez_audio_state = {}
    for interface in interfaces:
        device.bluez_audio_state[interface] = state
        for name, in_signature, out_signature in (('Connect', '', ''), ('Disconnect', '', ''),
                                                  ('GetProperties', '', 'a{sv}'), ('IsConnected', '', 'b')):
            if name == 'IsConnected' and interface == AUDIO_IFACE:
                continue
            _add_custom_method(device, interface, name,
                               _audio_method(interface, name, in_signature, out_signature))
    devices = list(adapter.bluez_props['Devices']) + [dbus.ObjectPath(path)]
    _change_property(adapter, 'Devices', dbus.Array(devices, signature='o'))
    adapter.EmitSignal(ADAPTER_IFACE, 'DeviceCreated', 'o', [dbus.ObjectPath(path)])
    return device


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
    mock.bluez_pairing = {}
    mock.bluez_pending = {}
    mock.bluez_agent_replies = []
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


def _device(address):
    device = mockobject.objects.get(_device_path(str(address)))
    if device is None:
        raise dbus.exceptions.DBusException('Device does not exist', name='org.bluez.Error.DoesNotExist')
    return device


@dbus.service.method(BLUEZ_MOCK_IFACE, in_signature='sa{sv}', out_signature='o')
def AddDevice(self, address, properties):
    '''A remote device the adapter knows (see the template's description for the properties)'''
    address = str(address).upper()
    if _manager().bluez_adapter_path not in mockobject.objects:
        raise dbus.exceptions.DBusException('No adapter', name='org.bluez.Error.NoSuchAdapter')
    if _device_path(address) in mockobject.objects:
        raise dbus.exceptions.DBusException('Already Exists', name='org.bluez.Error.AlreadyExists')
    _add_device(address, dict(properties))
    return dbus.ObjectPath(_device_path(address))


@dbus.service.method(BLUEZ_MOCK_IFACE, in_signature='ssv', out_signature='')
def SetDeviceProperty(self, address, name, value):
    '''Change a device property as the daemon would, with PropertyChanged'''
    _set_device_property(_device(address), str(name), value)


@dbus.service.method(BLUEZ_MOCK_IFACE, in_signature='ss', out_signature='')
def SetAudioState(self, address, state):
    '''The State of every audio interface of the device'''
    device = _device(address)
    for interface in list(device.bluez_audio_state):
        _set_audio_state(device, interface, str(state))


@dbus.service.method(BLUEZ_MOCK_IFACE, in_signature='sa{sv}', out_signature='')
def SetPairing(self, address, behaviour):
    '''What CreatePairedDevice does for that address'''
    _manager().bluez_pairing[str(address).upper()] = dict(behaviour)


@dbus.service.method(BLUEZ_MOCK_IFACE, in_signature='', out_signature='as')
def AgentReplies(self):
    '''The agents' answers, in order'''
    return dbus.Array(_manager().bluez_agent_replies, signature='s')
