#!/usr/bin/python3
"""The nfc-ui tour: runs the whole system on the buses of the environment it is started in (scripts/demo
starts it on private buses with a private HOME) and walks through what the system does, one step at a
time, with a transcript line per step.

Usage: demo-tour.py --build DIR [--headless] [--interactive] [--screenshots DIR] [--step NAME]...

Started processes: python-dbusmock mocks of BlueZ 4, oFono, notifications, the notes service and the
session (logind, screen saver); nfcui-daemon --simulator; nfcui-host with the real plugin; small
recording desktop applications (two browsers, contacts, phone, SMS) in the private HOME.

Headless, every dialog is answered through the host's automation interface and saved as a screenshot.
With a display, the windows open and the user answers them. Exit status 0 when every step behaved as
the system defines, 1 with the failing steps named otherwise.
"""

import argparse
import json
import os
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import time

import dbus

HERE = os.path.dirname(os.path.realpath(__file__))
SOURCE = os.path.dirname(HERE)
MOCKS = os.path.join(SOURCE, 'tests', 'mocks')

AUTOMATION = ('com.orvan.DialogServer', '/', 'com.orvan.DialogServer.Automation')
OK, YES, NO, CANCEL = 0x400, 0x4000, 0x10000, 0x400000
MODEM = '/ril_0'

APPLICATIONS = {
    # desktop file id: (name, MIME types)
    'demo-browser': ('Demo Browser', 'x-scheme-handler/http;x-scheme-handler/https;text/html;'),
    'demo-browser-two': ('Second Browser', 'x-scheme-handler/http;'),
    'demo-contacts': ('Demo Contacts', 'text/vcard;text/x-vcard;text/directory;'),
    'demo-phone': ('Demo Phone', 'x-scheme-handler/tel;'),
    'demo-sms': ('Demo Messages', 'x-scheme-handler/sms;'),
}

VCARD = ('BEGIN:VCARD\r\nVERSION:3.0\r\nN:Virtanen;Maija;;;\r\nFN:Maija Virtanen\r\n'
         'TEL;TYPE=CELL:+358401234567\r\nEND:VCARD\r\n')


# ---------------------------------------------------------------------------------------------- NDEF

def ndef_record(tnf, rtype, payload, first=True, last=True):
    header = tnf & 7
    if first:
        header |= 0x80
    if last:
        header |= 0x40
    if len(payload) < 256:
        header |= 0x10
        length = bytes([len(payload)])
    else:
        length = len(payload).to_bytes(4, 'big')
    return bytes([header, len(rtype)]) + length + rtype + payload


def ndef_message(records):
    out = b''
    for i, (tnf, rtype, payload) in enumerate(records):
        out += ndef_record(tnf, rtype, payload, i == 0, i == len(records) - 1)
    return out


def text_payload(lang, text):
    lang = lang.encode()
    return bytes([len(lang)]) + lang + text.encode('utf-8')


def smart_poster(uri, titles):
    records = [(1, b'U', b'\x00' + uri.encode())]
    records += [(1, b'T', text_payload(lang, title)) for lang, title in titles]
    return ndef_message([(1, b'Sp', ndef_message(records))])


# ------------------------------------------------------------------------------------------ the tour

class Failure(Exception):
    pass


class Tour:
    def __init__(self, options):
        self.options = options
        self.build = os.path.abspath(options.build)
        self.processes = []
        self.root = tempfile.mkdtemp(prefix='nfcui-demo-')
        self.opened_log = os.path.join(self.root, 'opened.log')
        self.reader_log = os.path.join(self.root, 'reader.log')
        self.screenshots = options.screenshots or os.path.join(self.root, 'screenshots')
        self.logs = os.path.join(self.root, 'logs')
        os.makedirs(self.logs)
        self.system = dbus.bus.BusConnection(os.environ['DBUS_SYSTEM_BUS_ADDRESS'])
        self.session = dbus.bus.BusConnection(os.environ['DBUS_SESSION_BUS_ADDRESS'])
        self.transcript = []

    # -- processes

    def start(self, name, argv, env=None):
        log = open(os.path.join(self.logs, name + '.log'), 'w')
        # A termination that came between the start and the record would leave the program untracked,
        # and nothing else stops it (it runs in a session of its own): it waits until it is recorded.
        with TerminationHeld():
            process = subprocess.Popen(argv, stdout=log, stderr=subprocess.STDOUT, env=env or os.environ.copy(),
                                       start_new_session=True)
            self.processes.append((name, process))
        return process

    def wait_for_name(self, bus, name, what, timeout=15):
        deadline = time.time() + timeout
        while time.time() < deadline:
            if bus.name_has_owner(name):
                return
            for pname, process in self.processes:
                if process.poll() is not None:
                    raise Failure('%s exited early (%s); see %s' % (pname, process.returncode,
                                                                     os.path.join(self.logs, pname + '.log')))
            time.sleep(0.05)
        raise Failure('%s did not take %s within %ss' % (what, name, timeout))

    def start_mock(self, name, template, system, bus_name, parameters=None):
        argv = ['/usr/bin/python3', '-m', 'dbusmock', '--template', template]
        if system:
            argv.append('--system')
        if parameters:
            argv += ['--parameters', json.dumps(parameters)]
        self.start(name, argv)
        self.wait_for_name(self.system if system else self.session, bus_name, 'the %s mock' % name)

    def stop_all(self):
        for name, process in reversed(self.processes):
            if process.poll() is None:
                process.send_signal(signal.SIGTERM)
        for name, process in reversed(self.processes):
            try:
                process.wait(timeout=10)
            except subprocess.TimeoutExpired:
                process.kill()
        self.processes = []

    # -- environment

    def install_applications(self):
        """Small recording programs as desktop applications, the only ones the private HOME knows."""
        data = os.path.join(self.root, 'system')
        apps = os.path.join(data, 'applications')
        os.makedirs(apps)
        shared = os.path.join(self.root, 'shared')
        os.makedirs(shared)
        os.symlink('/usr/share/mime', os.path.join(shared, 'mime'))
        recorder = os.path.join(self.root, 'record-open')
        with open(recorder, 'w') as f:
            f.write('#!/bin/sh\n# Records which application was opened with which argument.\n'
                    'app="$1"; shift\nprintf "%%s %%s\\n" "$app" "$*" >> "%s"\n' % self.opened_log)
        os.chmod(recorder, 0o755)
        for desktop_id, (name, mime) in APPLICATIONS.items():
            with open(os.path.join(apps, desktop_id + '.desktop'), 'w') as f:
                f.write('[Desktop Entry]\nType=Application\nName=%s\nExec=%s %s %%u\nMimeType=%s\n'
                        'NoDisplay=false\n' % (name, recorder, desktop_id, mime))
        # GIO learns which types the entries claim from the folder's mimeinfo.cache.
        subprocess.run(['update-desktop-database', apps], check=True)
        os.environ['XDG_DATA_DIRS'] = data + ':' + shared
        os.environ.pop('XDG_CURRENT_DESKTOP', None)
        os.environ['XDG_DATA_HOME'] = os.path.join(self.root, 'data-home')
        os.environ['XDG_CONFIG_HOME'] = os.path.join(self.root, 'config-home')
        self.vcard = os.path.join(self.root, 'maija.vcf')
        with open(self.vcard, 'w') as f:
            f.write(VCARD)

    def start_system(self):
        self.install_applications()
        self.start_mock('bluez', os.path.join(MOCKS, 'bluez4.py'), True, 'org.bluez', {'Powered': True})
        self.start_mock('ofono', os.path.join(MOCKS, 'ofono.py'), True, 'org.ofono')
        self.start_mock('logind', 'logind', True, 'org.freedesktop.login1')
        self.start_mock('notifications', 'notification_daemon', False, 'org.freedesktop.Notifications')
        self.start_mock('notes', os.path.join(MOCKS, 'notes.py'), False, 'com.orvan.Notes')
        self.start_mock('screensaver', os.path.join(MOCKS, 'screensaver.py'), False, 'org.freedesktop.ScreenSaver')
        self.start('daemon', [os.path.join(self.build, 'bin', 'nfcui-daemon'), '--simulator'])
        self.wait_for_name(self.system, 'com.orvan.nfc', 'nfcui-daemon')
        host = [os.path.join(self.build, 'bin', 'nfcui-host'), '--automation',
                '--plugin', os.path.join(self.build, 'lib', 'libnfcagentdialogplugin.so'),
                '--screenshots', self.screenshots]
        self.host_argv = host
        self.start('host', host)
        self.wait_for_name(self.session, 'com.orvan.DialogServer', 'nfcui-host')
        self.connect_automation()
        # The agent registers once the plugin is initialized.
        self.wait_agent(0)

    def connect_automation(self):
        self.automation = dbus.Interface(self.session.get_object(AUTOMATION[0], AUTOMATION[1]), AUTOMATION[2])

    def read_log(self, name):
        try:
            with open(os.path.join(self.logs, name + '.log'), errors='replace') as f:
                return f.read()
        except OSError:
            return ''

    # -- helpers for steps

    def sim(self, *arguments):
        wait = '120' if self.options.interactive_answers else '30'
        argv = [os.path.join(self.build, 'bin', 'nfcui-sim'), '--json', '--timeout', wait] + list(arguments)
        return subprocess.Popen(argv, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)

    def sim_reply(self, process, timeout=None):
        if timeout is None:
            timeout = 125 if self.options.interactive_answers else 35
        out, err = process.communicate(timeout=timeout)
        line = out.strip().splitlines()[-1] if out.strip() else ''
        try:
            return json.loads(line)
        except ValueError:
            raise Failure('nfcui-sim printed no answer (exit %s): %s' % (process.returncode, err.strip()))

    def wait_dialog(self, seen, timeout=15):
        deadline = time.time() + timeout
        while time.time() < deadline:
            for dialog_id, properties in self.automation.ListDialogs():
                if str(dialog_id) not in seen:
                    seen.add(str(dialog_id))
                    return str(dialog_id), {str(k): unwrap(v) for k, v in properties.items()}
            time.sleep(0.05)
        raise Failure('no dialog appeared within %ss' % timeout)

    def answer(self, dialog_id, result, application='', direct=False):
        if self.options.interactive_answers:
            # The user answers in the window; the step says what it expects.
            buttons = {OK: 'Open (or OK, Pair, Share)', YES: 'Yes', NO: 'No', CANCEL: 'Cancel'}
            what = buttons.get(result, str(result))
            if application:
                what = 'choose %s, then %s' % (application, what)
            if direct:
                what = 'tick the direct action (Call now, Send now), then %s' % what
            print('     -> in the window: %s' % what, flush=True)
            return
        self.automation.Answer(dialog_id, result, application, direct)

    def opened(self):
        try:
            with open(self.opened_log) as f:
                return [line.rstrip('\n') for line in f]
        except OSError:
            return []

    def wait_opened(self, expected, timeout=10):
        deadline = time.time() + timeout
        while time.time() < deadline:
            if expected in self.opened():
                return
            time.sleep(0.05)
        raise Failure('expected "%s" to be opened; opened: %s' % (expected, self.opened()))

    def mock_calls(self, bus, name, path, method):
        mock = dbus.Interface(bus.get_object(name, path), 'org.freedesktop.DBus.Mock')
        return [[unwrap(a) for a in args] for _, args in mock.GetMethodCalls(method)]

    def expect(self, condition, message):
        if not condition:
            raise Failure(message)

    def dialog_step(self, sim_args, expect_class, check_properties, result, application='', direct=False,
                    expect_reply='granted', expect_dialog=True):
        """Touch, wait for the dialog, check it, answer it, check the daemon's reply."""
        seen = set(self.known_dialogs())
        process = self.sim(*sim_args)
        if not expect_dialog:
            reply = self.sim_reply(process)
            self.expect(not (set(self.known_dialogs()) - seen), 'a dialog was shown')
            self.expect(reply.get('result') == expect_reply, 'the daemon got %s, expected %s' % (reply, expect_reply))
            return None, {}, reply
        dialog_id, properties = self.wait_dialog(seen)
        self.expect(properties.get('class') == expect_class,
                    'expected a %s, got %s' % (expect_class, properties))
        for key, value in check_properties.items():
            self.expect(properties.get(key) == value,
                        'dialog property %s is %r, expected %r' % (key, properties.get(key), value))
        self.answer(dialog_id, result, application, direct)
        reply = self.sim_reply(process)
        self.expect(reply.get('result') == expect_reply, 'the daemon got %s, expected %s' % (reply, expect_reply))
        return dialog_id, properties, reply

    def known_dialogs(self):
        return [str(d) for d, _ in self.automation.ListDialogs()]

    # ----------------------------------------------------------------------------------------- steps

    def step_web_link(self):
        _, p, r = self.dialog_step(['touch', '--uri', 'https://example.com/'], 'NfcTagReadPermissionDialog',
                                   {'kind': 'uri', 'uri': 'https://example.com/'}, OK)
        self.wait_opened('demo-browser https://example.com/')
        return 'web link: dialog "%s", answered Open, daemon: %s, opened demo-browser with https://example.com/' % (
            p['uri'], r['result'])

    def step_smart_poster(self):
        data = smart_poster('https://example.org/menu', [('fi', 'Ruokalista'), ('en', 'Menu')])
        _, p, r = self.dialog_step(['touch', '--hex', data.hex()], 'NfcTagReadPermissionDialog',
                                   {'kind': 'uri', 'uri': 'https://example.org/menu', 'text': 'Menu'}, OK)
        self.wait_opened('demo-browser https://example.org/menu')
        return 'smart poster: dialog "%s" titled "%s" (English locale; fi: Ruokalista), answered Open, daemon: %s, ' \
               'opened demo-browser' % (p['uri'], p['text'], r['result'])

    def step_call(self):
        _, p, r = self.dialog_step(['touch', '--uri', 'tel:+358401234567'], 'NfcTagReadPermissionDialog',
                                   {'kind': 'uri', 'uri': 'tel:+358401234567'}, OK, direct=True)
        deadline = time.time() + 10
        while time.time() < deadline and not self.mock_calls(self.system, 'org.ofono', MODEM, 'Dial'):
            time.sleep(0.05)
        calls = self.mock_calls(self.system, 'org.ofono', MODEM, 'Dial')
        self.expect(calls and calls[-1][0] == '+358401234567', 'no call dialled on the modem: %s' % calls)
        return 'tel: dialog "%s", answered Call now, daemon: %s, call dialled on the modem to %s' % (
            p['uri'], r['result'], calls[-1][0])

    def step_sms_offline(self):
        mock = dbus.Interface(self.system.get_object('org.ofono', '/'), 'org.freedesktop.DBus.Mock')
        mock.SetModemOnline('ril_0', False)
        try:
            seen = set(self.known_dialogs())
            process = self.sim('touch', '--uri', 'sms:+358401234567?body=Hello')
            dialog_id, p = self.wait_dialog(seen)
            self.expect(p.get('class') == 'NfcTagReadPermissionDialog' and p.get('uri') == 'sms:+358401234567?body=Hello',
                        'unexpected dialog %s' % p)
            self.answer(dialog_id, OK, '', True)
            box_id, box = self.wait_dialog(seen)
            self.expect(box.get('class') == 'MessageBox' and box.get('title') == 'Exit offline mode?',
                        'expected the offline question, got %s' % box)
            self.answer(box_id, YES)
            reply = self.sim_reply(process)
            self.expect(reply.get('result') == 'granted', 'the daemon got %s' % reply)
            deadline = time.time() + 10
            while time.time() < deadline and not self.mock_calls(self.system, 'org.ofono', MODEM, 'SendMessage'):
                time.sleep(0.05)
            sent = self.mock_calls(self.system, 'org.ofono', MODEM, 'SendMessage')
            self.expect(sent and sent[-1] == ['+358401234567', 'Hello'], 'no message sent: %s' % sent)
        finally:
            mock.SetModemOnline('ril_0', True)
        return 'sms: in flight mode: dialog "%s", Send now, "%s" answered Yes, daemon: %s, message "Hello" sent ' \
               'to +358401234567' % (p['uri'], box['title'], reply['result'])

    def step_contact_card(self):
        _, p, r = self.dialog_step(['touch', '--vcard', self.vcard], 'NfcTagReadPermissionDialog',
                                   {'kind': 'file'}, OK)
        self.expect(p.get('mimeType', '').lower() in ('text/vcard', 'text/x-vcard'), 'MIME type %s' % p)
        deadline = time.time() + 10
        while time.time() < deadline and not any(l.startswith('demo-contacts ') for l in self.opened()):
            time.sleep(0.05)
        opened = [l for l in self.opened() if l.startswith('demo-contacts ')]
        self.expect(opened, 'the contacts application was not opened: %s' % self.opened())
        return 'contact card: dialog for a %s file, answered Open, daemon: %s, opened %s' % (
            p['mimeType'], r['result'], opened[-1])

    def step_text_note(self):
        _, p, r = self.dialog_step(['touch', '--text', 'Remember the milk'], 'NfcTagReadPermissionDialog',
                                   {'kind': 'text', 'text': 'Remember the milk'}, OK)
        deadline = time.time() + 10
        while time.time() < deadline and not self.mock_calls(self.session, 'com.orvan.Notes', '/', 'openNote'):
            time.sleep(0.05)
        calls = self.mock_calls(self.session, 'com.orvan.Notes', '/', 'openNote')
        self.expect(calls, 'the notes application was not asked to open the note')
        return 'text: dialog "%s", answered Open, daemon: %s, note stored and opened in the notes application' % (
            p['text'], r['result'])

    def choose_browser(self, uri, application=None):
        """Touches an http: link, which both browsers handle, and answers the choice."""
        seen = set(self.known_dialogs())
        process = self.sim('touch', '--uri', uri)
        dialog_id, p = self.wait_dialog(seen)
        self.expect(p.get('class') == 'NfcTagReadPermissionDialog' and p.get('kind') == 'choice',
                    'expected a choice, got %s' % p)
        self.expect(sorted(p['choices']) == ['demo-browser', 'demo-browser-two'], 'choices %s' % p['choices'])
        chosen = application if application is not None else p['choices'][-1]
        chosen = chosen or p['preselected']  # '' keeps the preselected one
        self.answer(dialog_id, OK, chosen, False)
        reply = self.sim_reply(process)
        self.expect(reply.get('result') == 'granted', 'the daemon got %s' % reply)
        self.wait_opened('%s %s' % (chosen, uri))
        return p, chosen, reply

    def step_two_browsers(self):
        first, chosen, r1 = self.choose_browser('http://example.net/')
        self.expect(first['preselected'] != chosen, 'the choice was preselected before it was made')
        second, _, r2 = self.choose_browser('http://example.net/again', application='')
        self.expect(second['preselected'] == chosen, 'preselected %s, expected the remembered %s' % (
            second['preselected'], chosen))
        return 'choice: %s offered with %s preselected, %s chosen, daemon: %s; next time %s preselected, ' \
               'daemon: %s, opened %s' % (', '.join(first['choices']), first['preselected'], chosen, r1['result'],
                                          second['preselected'], r2['result'], chosen)

    def step_empty_tag(self):
        _, p, r = self.dialog_step(['touch', '--hex', 'd00000'], 'NfcTagNotSupportedDialog', {'errorType': 1}, OK,
                                   expect_reply='rejected')
        return 'empty tag: error dialog (empty tag), closed, daemon: %s' % r['result']

    def step_unreadable_tag(self):
        # The touch is answered at once; the error dialog follows it.
        _, p, r = self.dialog_step(['touch', '--unreadable'], 'NfcTagNotSupportedDialog', {'errorType': 1}, OK)
        return 'unreadable tag: touch answered (%s), error dialog (tag cannot be read), closed' % r['result']

    def step_foreground_application(self):
        reader = self.start('reader', ['/usr/bin/python3', os.path.realpath(__file__), '--reader', self.reader_log])
        deadline = time.time() + 10
        while time.time() < deadline and not os.path.exists(self.reader_log):
            time.sleep(0.05)
        self.expect(os.path.exists(self.reader_log), 'the foreground application did not start')
        try:
            seen = set(self.known_dialogs())
            reply = self.sim_reply(self.sim('touch', '--uri', 'https://example.com/app'))
            self.expect(reply.get('result') == 'granted', 'the daemon got %s' % reply)
            self.expect(not (set(self.known_dialogs()) - seen), 'a dialog was shown')
            deadline = time.time() + 10
            data = ''
            while time.time() < deadline:
                with open(self.reader_log) as f:
                    data = f.read()
                if 'HandleNdef' in data:
                    break
                time.sleep(0.05)
            self.expect('HandleNdef' in data, 'the application got no data')
        finally:
            reader.terminate()
            reader.wait(timeout=5)
        return 'foreground application: no dialog, daemon: %s, the application got the data (%s)' % (
            reply['result'], data.strip().splitlines()[-1])

    def step_sharing(self):
        _, p, r = self.dialog_step(['share-permission', 'holiday.jpg'], 'NfcSharingPermissionDialog',
                                   {'resources': ['holiday.jpg']}, OK)
        return 'sharing: permission dialog for %s, answered Share, daemon: %s' % (', '.join(p['resources']),
                                                                                  r['result'])

    def step_headset(self):
        headset, old = '00:11:22:33:44:66', '00:11:22:33:44:77'
        uuids = dbus.Array(['00001108-0000-1000-8000-00805f9b34fb', '0000111e-0000-1000-8000-00805f9b34fb'],
                           signature='s')
        bluez = dbus.Interface(self.system.get_object('org.bluez', '/'), 'org.bluez.Mock')
        bluez.AddDevice(old, dbus.Dictionary({'Name': 'Old headset', 'Paired': True, 'UUIDs': uuids,
                                              'AudioState': 'connected'}, signature='sv'))
        bluez.SetPairing(headset, dbus.Dictionary({
            'Agent': dbus.Array(['RequestPinCode'], signature='s'),
            'Properties': dbus.Dictionary({'Name': 'Headset', 'UUIDs': uuids}, signature='sv')}, signature='sv'))
        _, p, r = self.dialog_step(['pair', headset, 'Headset', '--cod', '0x240404', '--pin', '1234'],
                                   'NfcPairingDialog', {'classOfDevice': 0x240404}, OK)
        replies = [str(x) for x in bluez.AgentReplies()]
        self.expect(replies == ['RequestPinCode:1234'], 'the PIN was not given to BlueZ: %s' % replies)
        adapter = '/org/bluez/1000/hci0'
        device = lambda address: adapter + '/dev_' + address.replace(':', '_')
        deadline = time.time() + 10
        while time.time() < deadline:
            if self.mock_calls(self.system, 'org.bluez', device(headset), 'org.bluez.Audio.Connect'):
                break
            time.sleep(0.05)
        self.expect(self.mock_calls(self.system, 'org.bluez', device(headset), 'org.bluez.Audio.Connect'),
                    'the headset was not connected')
        self.expect(self.mock_calls(self.system, 'org.bluez', device(old), 'org.bluez.Audio.Disconnect'),
                    'the other headset was not disconnected first')
        return 'headset: pairing dialog (audio device), answered Pair, PIN 1234 given to BlueZ, daemon: %s, ' \
               'the old headset disconnected, the new one connected' % r['result']

    # -- faults: not part of the tour, run by the end-to-end tests

    def process(self, name):
        for pname, process in self.processes:
            if pname == name and process.poll() is None:
                return process
        return None

    def stop(self, name):
        process = self.process(name)
        process.send_signal(signal.SIGTERM)
        process.wait(timeout=10)
        self.processes = [(n, p) for n, p in self.processes if p is not process]

    def registrations(self):
        return len(re.findall(r'UI agent \S+ \S+ registered', self.read_log('daemon')))

    def wait_agent(self, before, timeout=15):
        """Until the daemon's log shows one more registration of a UI agent than before."""
        deadline = time.time() + timeout
        while time.time() < deadline:
            if self.registrations() > before:
                return
            time.sleep(0.05)
        raise Failure('no UI agent registered with the daemon within %ss' % timeout)

    def text_note_works(self):
        _, p, r = self.dialog_step(['touch', '--text', 'After the fault'], 'NfcTagReadPermissionDialog',
                                   {'kind': 'text', 'text': 'After the fault'}, OK)
        return r['result']

    def step_fault_daemon_restart(self):
        seen = set(self.known_dialogs())
        process = self.sim('touch', '--text', 'Left open')
        self.wait_dialog(seen)
        self.stop('daemon')
        process.communicate(timeout=35)
        self.start('daemon', [os.path.join(self.build, 'bin', 'nfcui-daemon'), '--simulator'])
        self.wait_for_name(self.system, 'com.orvan.nfc', 'nfcui-daemon')
        self.wait_agent(0)
        self.tidy_up()
        result = self.text_note_works()
        return 'daemon restarted with a dialog open: the agent registered again, the next tag: %s' % result

    def step_fault_host_quits(self):
        seen = set(self.known_dialogs())
        process = self.sim('touch', '--text', 'Left open')
        self.wait_dialog(seen)
        started = time.time()
        self.stop('host')
        reply = self.sim_reply(process, timeout=15)
        waited = time.time() - started
        # Nothing hangs: unregistering the agent on the way out cancels the call it still holds, and
        # the host writes that answer out before it exits.
        self.expect(reply.get('error') == 'com.orvan.nfc.UIAgent.Canceled', 'the daemon got %s' % reply)
        self.expect(waited < 5, 'the daemon waited %.1fs' % waited)
        self.expect(self.process('daemon') is not None, 'the daemon did not survive')
        before = self.registrations()
        self.start('host', self.host_argv)
        self.wait_for_name(self.session, 'com.orvan.DialogServer', 'nfcui-host')
        self.connect_automation()
        self.wait_agent(before)
        result = self.text_note_works()
        return 'host quit with a dialog open: the daemon got %s after %.1fs; a new host works (%s)' % (
            reply['error'], waited, result)

    def step_fault_notes_absent(self):
        self.stop('notes')
        try:
            result = self.text_note_works()
            deadline = time.time() + 10
            while time.time() < deadline and 'openNote' not in self.read_log('host'):
                time.sleep(0.05)
            self.expect(self.process('host') is not None, 'the host did not survive')
            self.expect('openNote' in self.read_log('host'), 'the failed notes call was not logged')
        finally:
            self.start_mock('notes', os.path.join(MOCKS, 'notes.py'), False, 'com.orvan.Notes')
        return 'notes service absent: the text was still stored, the failed call logged, daemon: %s' % result

    def step_fault_defaults_unwritable(self):
        folder = os.path.join(os.environ['HOME'], '.nfc')
        shutil.rmtree(folder, ignore_errors=True)
        with open(folder, 'w') as f:
            f.write('a file where the folder of the defaults file should be\n')
        try:
            first, chosen, r1 = self.choose_browser('http://example.net/')
            deadline = time.time() + 5
            while time.time() < deadline and 'Unable to write' not in self.read_log('host'):
                time.sleep(0.05)
            self.expect('Unable to write' in self.read_log('host'), 'the failed write was not logged')
            second, _, r2 = self.choose_browser('http://example.net/again', application='')
            self.expect(second['preselected'] != chosen, 'the choice was remembered: %s' % second)
        finally:
            os.remove(folder)
        return 'defaults file unwritable: %s opened (daemon: %s), the failed write logged, the choice not ' \
               'remembered, the next tag answered too (daemon: %s)' % (chosen, r1['result'], r2['result'])

    def restart_host(self, environment):
        self.stop('host')
        before = self.registrations()
        env = os.environ.copy()
        env.update(environment)
        self.start('host', self.host_argv, env)
        self.wait_for_name(self.session, 'com.orvan.DialogServer', 'nfcui-host')
        self.connect_automation()
        self.wait_agent(before)

    def step_finnish(self):
        """With a Finnish locale the plugin picks the Finnish title and asks its question in Finnish."""
        self.restart_host({'LANG': 'fi_FI.UTF-8', 'LC_ALL': 'fi_FI.UTF-8'})
        data = smart_poster('https://example.org/menu', [('en', 'Menu'), ('fi', 'Ruokalista')])
        _, p, r = self.dialog_step(['touch', '--hex', data.hex()], 'NfcTagReadPermissionDialog',
                                   {'kind': 'uri', 'text': 'Ruokalista'}, OK)
        mock = dbus.Interface(self.system.get_object('org.ofono', '/'), 'org.freedesktop.DBus.Mock')
        mock.SetModemOnline('ril_0', False)
        try:
            seen = set(self.known_dialogs())
            process = self.sim('touch', '--uri', 'sms:+358401234567?body=Moi')
            dialog_id, _ = self.wait_dialog(seen)
            self.answer(dialog_id, OK, '', True)
            box_id, box = self.wait_dialog(seen)
            self.expect(box.get('title') == 'Poistutaanko offline-tilasta?', 'the question is %s' % box)
            self.answer(box_id, NO)
            reply = self.sim_reply(process)
            self.expect(reply.get('result') == 'rejected', 'the daemon got %s' % reply)
        finally:
            mock.SetModemOnline('ril_0', True)
            self.restart_host({})
        return 'Finnish locale: Smart Poster titled "%s", offline question "%s" answered No, daemon: %s' % (
            p['text'], box['title'], reply['result'])

    FAULTS = ['finnish', 'fault_daemon_restart', 'fault_host_quits', 'fault_notes_absent', 'fault_defaults_unwritable']

    STEPS = ['web_link', 'smart_poster', 'call', 'sms_offline', 'contact_card', 'text_note', 'two_browsers',
             'empty_tag', 'unreadable_tag', 'foreground_application', 'headset', 'sharing']

    def run(self, steps):
        failures = []
        for step in steps:
            try:
                line = getattr(self, 'step_' + step)()
                print('PASS %-24s %s' % (step, line), flush=True)
            except Failure as failure:
                failures.append(step)
                print('FAIL %-24s %s' % (step, failure), flush=True)
                self.tidy_up()
            except dbus.DBusException as error:
                failures.append(step)
                print('FAIL %-24s %s: %s' % (step, error.get_dbus_name(), error.get_dbus_message()), flush=True)
                self.tidy_up()
        return failures

    def tidy_up(self):
        """After a failed step: declines what is still open, so that the next step starts clean."""
        for _ in range(20):
            dialogs = self.known_dialogs()
            if not dialogs:
                break
            for dialog_id in dialogs:
                try:
                    self.automation.Answer(dialog_id, CANCEL, '', False)
                except dbus.DBusException:
                    pass
            time.sleep(0.2)


def unwrap(value):
    if isinstance(value, dbus.Array):
        return [unwrap(v) for v in value]
    if isinstance(value, dbus.Dictionary):
        return {str(k): unwrap(v) for k, v in value.items()}
    if isinstance(value, (dbus.String, dbus.ObjectPath)):
        return str(value)
    if isinstance(value, dbus.Boolean):
        return bool(value)
    if isinstance(value, (dbus.Int32, dbus.UInt32, dbus.Int64, dbus.UInt64, dbus.Int16, dbus.UInt16, dbus.Byte)):
        return int(value)
    return value


def run_reader(log):
    """A foreground application registered for NDEF data: logs every HandleNdef call."""
    import dbus.service
    from dbus.mainloop.glib import DBusGMainLoop
    from gi.repository import GLib

    DBusGMainLoop(set_as_default=True)
    bus = dbus.bus.BusConnection(os.environ['DBUS_SYSTEM_BUS_ADDRESS'])

    class Reader(dbus.service.Object):
        @dbus.service.method('com.orvan.nfc.NdefHandler', in_signature='oay', out_signature='')
        def HandleNdef(self, target, data):
            with open(log, 'a') as f:
                f.write('HandleNdef %s %s\n' % (target, bytes(data).hex()))

    Reader(bus, '/demo/reader')
    manager = dbus.Interface(bus.get_object('com.orvan.nfc', '/'), 'com.orvan.nfc.Manager')
    manager.RegisterNdefHandler('demo-reader', dbus.ObjectPath('/demo/reader'))
    manager.SetForeground(dbus.ObjectPath('/demo/reader'), True)
    with open(log, 'a') as f:
        f.write('registered\n')
    GLib.MainLoop().run()


class TerminationHeld:
    """Holds a SIGTERM or SIGHUP back until the block ends; the tour then ends as it would have."""

    held = 0
    pending = None

    def __enter__(self):
        TerminationHeld.held += 1

    def __exit__(self, *exception):
        TerminationHeld.held -= 1
        if not TerminationHeld.held and TerminationHeld.pending is not None:
            signum, TerminationHeld.pending = TerminationHeld.pending, None
            terminate(signum, None)
        return False


def terminate(signum, frame):
    """A termination (a timeout, the session ending) stops what the tour started, as Ctrl+C does: the
    programs run in sessions of their own, so nothing else would stop them. Further terminations are
    ignored, so that the clean-up is not cut short by the next one (a session's end often sends SIGTERM
    and then SIGHUP)."""
    if TerminationHeld.held:
        TerminationHeld.pending = signum
        return
    signal.signal(signal.SIGTERM, signal.SIG_IGN)
    signal.signal(signal.SIGHUP, signal.SIG_IGN)
    raise SystemExit(128 + signum)


def say(text):
    """Prints a line; a terminal that is gone (a hang-up) does not stop the clean-up."""
    try:
        print(text, flush=True)
    except OSError:
        pass


def main():
    if len(sys.argv) == 3 and sys.argv[1] == '--reader':
        run_reader(sys.argv[2])
        return 0
    parser = argparse.ArgumentParser(description=__doc__.split('\n\n')[0])
    parser.add_argument('--build', required=True)
    parser.add_argument('--screenshots')
    parser.add_argument('--headless', action='store_true')
    parser.add_argument('--interactive', action='store_true')
    parser.add_argument('--step', action='append', choices=Tour.STEPS + Tour.FAULTS)
    options = parser.parse_args()
    options.interactive_answers = not options.headless and not options.interactive
    if options.interactive_answers:
        print('Answer the dialogs in their windows.', flush=True)

    signal.signal(signal.SIGTERM, terminate)
    signal.signal(signal.SIGHUP, terminate)

    tour = Tour(options)
    failures = []
    # The folder (logs, and screenshots unless they go elsewhere) stays unless the tour ends as it
    # should: every step passed, or an interactive tour was stopped after it was running.
    keep = True
    try:
        tour.start_system()
        if options.interactive:
            keep = False
            print('Everything is running. Touch tags with, for example:\n'
                  '  %s touch --uri https://example.com/\n'
                  '  %s touch --text "Hello"\n'
                  '  %s pair 00:11:22:33:44:66 Headset --cod 0x240404 --pin 1234\n'
                  'Press Ctrl+C to stop.' % ((os.path.join(tour.build, 'bin', 'nfcui-sim'),) * 3), flush=True)
            try:
                signal.pause()
            except KeyboardInterrupt:
                pass
        else:
            failures = tour.run(options.step or Tour.STEPS)
            keep = bool(failures)
    except Failure as failure:
        say('FAIL setup %s' % failure)
        failures = ['setup']
    finally:
        tour.stop_all()
        say('Screenshots: %s' % tour.screenshots)
        say('Logs (kept unless the tour ends as it should): %s' % tour.logs)
        if not keep:
            shutil.rmtree(tour.root, ignore_errors=True)
    if failures:
        print('The tour failed at: %s' % ', '.join(failures), flush=True)
        return 1
    if not options.interactive:
        print('Every step behaved as the system defines.', flush=True)
    return 0


if __name__ == '__main__':
    sys.exit(main())
