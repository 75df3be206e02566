<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en_GB" sourcelanguage="en_GB">
<context>
    <name></name>
    <message id="vyk_nfc_ec_bnr_pairing">
        <source>Pairing with %1</source>
        <extracomment>Banner while a Bluetooth device found by touching it is being paired; %1 is the device name.</extracomment>
        <translation>Pairing with %1</translation>
    </message>
    <message id="vyk_nfc_ec_bnr_conn">
        <source>Connected to %1</source>
        <extracomment>Banner when a Bluetooth device found by touching it has been connected; %1 is the device name.</extracomment>
        <translation>Connected to %1</translation>
    </message>
    <message id="vyk_nfc_ec_bnr_disconn">
        <source>Disconnected from %1</source>
        <extracomment>Banner when a Bluetooth device has been disconnected; %1 is the device name.</extracomment>
        <translation>Disconnected from %1</translation>
    </message>
    <message id="vyk_offl_exiting_title">
        <source>Exit offline mode?</source>
        <extracomment>Title of the question shown when a tag asks to send a text message while the phone is offline.</extracomment>
        <translation>Exit offline mode?</translation>
    </message>
    <message id="vyk_offl_exiting">
        <source>The message can only be sent with offline mode off. Turn offline mode off and send the message?</source>
        <extracomment>Text of the question shown when a tag asks to send a text message while the phone is offline.</extracomment>
        <translation>The message can only be sent with offline mode off. Turn offline mode off and send the message?</translation>
    </message>
</context>
</TS>
