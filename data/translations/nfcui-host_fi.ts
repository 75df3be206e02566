<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="fi_FI" sourcelanguage="en_GB">
<context>
    <name></name>
    <message id="nfcui_host_button_cancel">
        <source>Cancel</source>
        <translation>Peruuta</translation>
    </message>
    <message id="nfcui_host_button_no">
        <source>No</source>
        <translation>Ei</translation>
    </message>
    <message id="nfcui_host_button_ok">
        <source>OK</source>
        <translation>OK</translation>
    </message>
    <message id="nfcui_host_button_open">
        <source>Open</source>
        <translation>Avaa</translation>
    </message>
    <message id="nfcui_host_button_pair">
        <source>Pair</source>
        <translation>Muodosta pari</translation>
    </message>
    <message id="nfcui_host_button_share">
        <source>Share</source>
        <translation>Jaa</translation>
    </message>
    <message id="nfcui_host_button_yes">
        <source>Yes</source>
        <translation>Kyllä</translation>
    </message>
    <message id="nfcui_host_cod_audio">
        <source>Audio and video (headset, speaker)</source>
        <translation>Ääni ja video (kuulokkeet, kaiutin)</translation>
    </message>
    <message id="nfcui_host_cod_computer">
        <source>Computer</source>
        <translation>Tietokone</translation>
    </message>
    <message id="nfcui_host_cod_health">
        <source>Health</source>
        <translation>Terveys</translation>
    </message>
    <message id="nfcui_host_cod_imaging">
        <source>Imaging (printer, camera)</source>
        <translation>Kuvantaminen (tulostin, kamera)</translation>
    </message>
    <message id="nfcui_host_cod_network">
        <source>Network access point</source>
        <translation>Verkkoyhteyspiste</translation>
    </message>
    <message id="nfcui_host_cod_peripheral">
        <source>Peripheral (keyboard, mouse)</source>
        <translation>Oheislaite (näppäimistö, hiiri)</translation>
    </message>
    <message id="nfcui_host_cod_phone">
        <source>Phone</source>
        <translation>Puhelin</translation>
    </message>
    <message id="nfcui_host_cod_toy">
        <source>Toy</source>
        <translation>Lelu</translation>
    </message>
    <message id="nfcui_host_cod_uncategorized">
        <source>Uncategorized</source>
        <translation>Luokittelematon</translation>
    </message>
    <message id="nfcui_host_cod_wearable">
        <source>Wearable</source>
        <translation>Puettava laite</translation>
    </message>
    <message id="nfcui_host_error_empty">
        <source>There is nothing on this tag to open.</source>
        <translation>Tunnisteessa ei ole mitään avattavaa.</translation>
    </message>
    <message id="nfcui_host_error_empty_title">
        <source>The tag is empty</source>
        <translation>Tunniste on tyhjä</translation>
    </message>
    <message id="nfcui_host_error_unsupported">
        <source>The content of this tag cannot be opened on this device.</source>
        <translation>Tämän tunnisteen sisältöä ei voi avata tällä laitteella.</translation>
    </message>
    <message id="nfcui_host_error_unsupported_title">
        <source>Tag not supported</source>
        <translation>Tunnistetta ei tueta</translation>
    </message>
    <message id="nfcui_host_pairing_class">
        <source>Device class: %1</source>
        <translation>Laiteluokka: %1</translation>
    </message>
    <message id="nfcui_host_pairing_title">
        <source>Pair with this device?</source>
        <translation>Muodostetaanko pari tämän laitteen kanssa?</translation>
    </message>
    <message id="nfcui_host_selection_any">
        <source>Any content</source>
        <translation>Mikä tahansa sisältö</translation>
    </message>
    <message id="nfcui_host_selection_contacts">
        <source>Contacts</source>
        <translation>Yhteystiedot</translation>
    </message>
    <message id="nfcui_host_selection_files">
        <source>Files</source>
        <translation>Tiedostot</translation>
    </message>
    <message id="nfcui_host_selection_title">
        <source>Choose what to share</source>
        <translation>Valitse jaettava sisältö</translation>
    </message>
    <message id="nfcui_host_sharing_title">
        <source>Share with the touched device?</source>
        <translation>Jaetaanko kosketetulle laitteelle?</translation>
    </message>
    <message id="nfcui_host_status_banner">
        <source>Banner: %1</source>
        <translation>Ilmoitus: %1</translation>
    </message>
    <message id="nfcui_host_status_feedback">
        <source>Feedback: %1</source>
        <translation>Palaute: %1</translation>
    </message>
    <message id="nfcui_host_status_idle">
        <source>Touch a tag or a device</source>
        <translation>Kosketa tunnistetta tai laitetta</translation>
    </message>
    <message id="nfcui_host_status_title">
        <source>NFC</source>
        <translation>NFC</translation>
    </message>
    <message id="nfcui_host_status_touch">
        <source>Touched</source>
        <translation>Kosketettu</translation>
    </message>
    <message id="nfcui_host_status_unblank">
        <source>Screen turned on</source>
        <translation>Näyttö käynnistettiin</translation>
    </message>
    <message id="nfcui_host_status_unlock">
        <source>Unlock the screen</source>
        <translation>Avaa näytön lukitus</translation>
    </message>
    <message id="nfcui_host_tagread_call_now">
        <source>Call now</source>
        <translation>Soita heti</translation>
    </message>
    <message id="nfcui_host_tagread_external">
        <source>Data of type %1</source>
        <translation>Tietoa, tyyppi %1</translation>
    </message>
    <message id="nfcui_host_tagread_file">
        <source>File of type %1</source>
        <translation>Tiedosto, tyyppi %1</translation>
    </message>
    <message id="nfcui_host_tagread_open_with">
        <source>Open with</source>
        <translation>Avaa sovelluksella</translation>
    </message>
    <message id="nfcui_host_tagread_send_now">
        <source>Send now</source>
        <translation>Lähetä heti</translation>
    </message>
    <message id="nfcui_host_tagread_title">
        <source>Open content from the tag?</source>
        <translation>Avataanko tunnisteen sisältö?</translation>
    </message>
</context>
</TS>
