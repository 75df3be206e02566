<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="fi_FI" sourcelanguage="en_GB">
<context>
    <name></name>
    <message id="vyk_nfc_ec_bnr_pairing">
        <source>Pairing with %1</source>
        <translation>Muodostetaan pari: %1</translation>
    </message>
    <message id="vyk_nfc_ec_bnr_conn">
        <source>Connected to %1</source>
        <translation>Yhdistetty: %1</translation>
    </message>
    <message id="vyk_nfc_ec_bnr_disconn">
        <source>Disconnected from %1</source>
        <translation>Yhteys katkaistu: %1</translation>
    </message>
    <message id="vyk_offl_exiting_title">
        <source>Exit offline mode?</source>
        <translation>Poistutaanko offline-tilasta?</translation>
    </message>
    <message id="vyk_offl_exiting">
        <source>The message can only be sent with offline mode off. Turn offline mode off and send the message?</source>
        <translation>Viestin voi lähettää vain, kun offline-tila ei ole käytössä. Poistetaanko offline-tila käytöstä ja lähetetäänkö viesti?</translation>
    </message>
</context>
</TS>
