<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en_GB" sourcelanguage="en_GB">
<context>
    <name></name>
    <message id="nfcui_host_button_cancel">
        <source>Cancel</source>
        <translation>Cancel</translation>
    </message>
    <message id="nfcui_host_button_no">
        <source>No</source>
        <translation>No</translation>
    </message>
    <message id="nfcui_host_button_ok">
        <source>OK</source>
        <translation>OK</translation>
    </message>
    <message id="nfcui_host_button_open">
        <source>Open</source>
        <translation>Open</translation>
    </message>
    <message id="nfcui_host_button_pair">
        <source>Pair</source>
        <translation>Pair</translation>
    </message>
    <message id="nfcui_host_button_share">
        <source>Share</source>
        <translation>Share</translation>
    </message>
    <message id="nfcui_host_button_yes">
        <source>Yes</source>
        <translation>Yes</translation>
    </message>
    <message id="nfcui_host_cod_audio">
        <source>Audio and video (headset, speaker)</source>
        <translation>Audio and video (headset, speaker)</translation>
    </message>
    <message id="nfcui_host_cod_computer">
        <source>Computer</source>
        <translation>Computer</translation>
    </message>
    <message id="nfcui_host_cod_health">
        <source>Health</source>
        <translation>Health</translation>
    </message>
    <message id="nfcui_host_cod_imaging">
        <source>Imaging (printer, camera)</source>
        <translation>Imaging (printer, camera)</translation>
    </message>
    <message id="nfcui_host_cod_network">
        <source>Network access point</source>
        <translation>Network access point</translation>
    </message>
    <message id="nfcui_host_cod_peripheral">
        <source>Peripheral (keyboard, mouse)</source>
        <translation>Peripheral (keyboard, mouse)</translation>
    </message>
    <message id="nfcui_host_cod_phone">
        <source>Phone</source>
        <translation>Phone</translation>
    </message>
    <message id="nfcui_host_cod_toy">
        <source>Toy</source>
        <translation>Toy</translation>
    </message>
    <message id="nfcui_host_cod_uncategorized">
        <source>Uncategorized</source>
        <translation>Uncategorized</translation>
    </message>
    <message id="nfcui_host_cod_wearable">
        <source>Wearable</source>
        <translation>Wearable</translation>
    </message>
    <message id="nfcui_host_error_empty">
        <source>There is nothing on this tag to open.</source>
        <translation>There is nothing on this tag to open.</translation>
    </message>
    <message id="nfcui_host_error_empty_title">
        <source>The tag is empty</source>
        <translation>The tag is empty</translation>
    </message>
    <message id="nfcui_host_error_unsupported">
        <source>The content of this tag cannot be opened on this device.</source>
        <translation>The content of this tag cannot be opened on this device.</translation>
    </message>
    <message id="nfcui_host_error_unsupported_title">
        <source>Tag not supported</source>
        <translation>Tag not supported</translation>
    </message>
    <message id="nfcui_host_pairing_class">
        <source>Device class: %1</source>
        <translation>Device class: %1</translation>
    </message>
    <message id="nfcui_host_pairing_title">
        <source>Pair with this device?</source>
        <translation>Pair with this device?</translation>
    </message>
    <message id="nfcui_host_selection_any">
        <source>Any content</source>
        <translation>Any content</translation>
    </message>
    <message id="nfcui_host_selection_contacts">
        <source>Contacts</source>
        <translation>Contacts</translation>
    </message>
    <message id="nfcui_host_selection_files">
        <source>Files</source>
        <translation>Files</translation>
    </message>
    <message id="nfcui_host_selection_title">
        <source>Choose what to share</source>
        <translation>Choose what to share</translation>
    </message>
    <message id="nfcui_host_sharing_title">
        <source>Share with the touched device?</source>
        <translation>Share with the touched device?</translation>
    </message>
    <message id="nfcui_host_status_banner">
        <source>Banner: %1</source>
        <translation>Banner: %1</translation>
    </message>
    <message id="nfcui_host_status_feedback">
        <source>Feedback: %1</source>
        <translation>Feedback: %1</translation>
    </message>
    <message id="nfcui_host_status_idle">
        <source>Touch a tag or a device</source>
        <translation>Touch a tag or a device</translation>
    </message>
    <message id="nfcui_host_status_title">
        <source>NFC</source>
        <translation>NFC</translation>
    </message>
    <message id="nfcui_host_status_touch">
        <source>Touched</source>
        <translation>Touched</translation>
    </message>
    <message id="nfcui_host_status_unblank">
        <source>Screen turned on</source>
        <translation>Screen turned on</translation>
    </message>
    <message id="nfcui_host_status_unlock">
        <source>Unlock the screen</source>
        <translation>Unlock the screen</translation>
    </message>
    <message id="nfcui_host_tagread_call_now">
        <source>Call now</source>
        <translation>Call now</translation>
    </message>
    <message id="nfcui_host_tagread_external">
        <source>Data of type %1</source>
        <translation>Data of type %1</translation>
    </message>
    <message id="nfcui_host_tagread_file">
        <source>File of type %1</source>
        <translation>File of type %1</translation>
    </message>
    <message id="nfcui_host_tagread_open_with">
        <source>Open with</source>
        <translation>Open with</translation>
    </message>
    <message id="nfcui_host_tagread_send_now">
        <source>Send now</source>
        <translation>Send now</translation>
    </message>
    <message id="nfcui_host_tagread_title">
        <source>Open content from the tag?</source>
        <translation>Open content from the tag?</translation>
    </message>
</context>
</TS>
