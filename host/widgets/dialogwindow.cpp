#include "dialogwindow.h"

#include "dialog.h"
#include "dialogdata.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QCloseEvent>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QImageReader>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollArea>
#include <QVBoxLayout>

namespace Host {

const QSize DialogWindow::phoneSize(360, 640);

namespace {
// The major device class of a Bluetooth class of device (bits 8 to 12), in words.
QString majorDeviceClass(uint classOfDevice)
{
    switch ((classOfDevice >> 8) & 0x1f) {
    case 1:
        //% "Computer"
        return qtTrId("nfcui_host_cod_computer");
    case 2:
        //% "Phone"
        return qtTrId("nfcui_host_cod_phone");
    case 3:
        //% "Network access point"
        return qtTrId("nfcui_host_cod_network");
    case 4:
        //% "Audio and video (headset, speaker)"
        return qtTrId("nfcui_host_cod_audio");
    case 5:
        //% "Peripheral (keyboard, mouse)"
        return qtTrId("nfcui_host_cod_peripheral");
    case 6:
        //% "Imaging (printer, camera)"
        return qtTrId("nfcui_host_cod_imaging");
    case 7:
        //% "Wearable"
        return qtTrId("nfcui_host_cod_wearable");
    case 8:
        //% "Toy"
        return qtTrId("nfcui_host_cod_toy");
    case 9:
        //% "Health"
        return qtTrId("nfcui_host_cod_health");
    default:
        //% "Uncategorized"
        return qtTrId("nfcui_host_cod_uncategorized");
    }
}

bool isCallUri(const QString& uri)
{
    return uri.startsWith(QLatin1String("tel:")) || uri.startsWith(QLatin1String("callto:"));
}
} // namespace

DialogWindow::DialogWindow(const QString& id, ConnUi::Dialog* dialog, QWidget* parent)
    : QWidget(parent), m_id(id), m_dialog(dialog)
{
    setAttribute(Qt::WA_DeleteOnClose, false);
    resize(phoneSize);
    setObjectName(QStringLiteral("dialog-") + id);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(16, 24, 16, 16);
    m_title = new QLabel(this);
    m_title->setWordWrap(true);
    QFont titleFont = m_title->font();
    titleFont.setPointSizeF(titleFont.pointSizeF() * 1.4);
    titleFont.setBold(true);
    m_title->setFont(titleFont);
    layout->addWidget(m_title);

    auto* scroll = new QScrollArea(this);
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);
    auto* contentWidget = new QWidget(scroll);
    m_content = new QVBoxLayout(contentWidget);
    m_content->setContentsMargins(0, 12, 0, 12);
    scroll->setWidget(contentWidget);
    layout->addWidget(scroll, 1);

    m_buttonRow = new QWidget(this);
    auto* buttons = new QHBoxLayout(m_buttonRow);
    buttons->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_buttonRow);

    const QString className = DialogData::className(dialog);
    if (className == QLatin1String("NfcTagReadPermissionDialog"))
        buildTagRead();
    else if (className == QLatin1String("NfcPairingDialog"))
        buildPairing();
    else if (className == QLatin1String("NfcSharingPermissionDialog"))
        buildSharingPermission();
    else if (className == QLatin1String("NfcSharingSelectionDialog"))
        buildSharingSelection();
    else if (className == QLatin1String("NfcTagNotSupportedDialog"))
        buildTagNotSupported();
    else if (className == QLatin1String("MessageBox"))
        buildMessageBox();
    else {
        m_title->setText(className);
        //% "OK"
        addButton(qtTrId("nfcui_host_button_ok"), ConnUi::Dialog::Ok);
        //% "Cancel"
        addButton(qtTrId("nfcui_host_button_cancel"), ConnUi::Dialog::Cancel);
    }
    m_content->addStretch(1);
    setWindowTitle(m_title->text());
}

QString DialogWindow::titleText() const
{
    return m_title->text();
}

QAbstractButton* DialogWindow::button(int result) const
{
    return m_buttons.value(result);
}

QStringList DialogWindow::contentTexts() const
{
    QStringList texts;
    for (const QLabel* label : m_labels) {
        if (!label->text().isEmpty())
            texts.append(label->text());
    }
    return texts;
}

QString DialogWindow::screenshotName() const
{
    QString name = m_id.rightJustified(3, QLatin1Char('0')) + QLatin1Char('-') + DialogData::className(m_dialog);
    const QString kind = m_dialog ? m_dialog->property("kind").toString() : QString();
    if (!kind.isEmpty())
        name += QLatin1Char('-') + kind;
    return name + QStringLiteral(".png");
}

QLabel* DialogWindow::addLabel(const QString& text, bool emphasized)
{
    auto* label = new QLabel(text);
    label->setWordWrap(true);
    label->setTextFormat(Qt::PlainText);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    if (emphasized) {
        QFont font = label->font();
        font.setBold(true);
        label->setFont(font);
    }
    m_content->addWidget(label);
    m_labels.append(label);
    return label;
}

void DialogWindow::addButton(const QString& text, int result)
{
    auto* button = new QPushButton(text, m_buttonRow);
    button->setObjectName(QStringLiteral("button-%1").arg(result));
    button->setMinimumHeight(48);
    m_buttonRow->layout()->addWidget(button);
    m_buttons.insert(result, button);
    connect(button, &QPushButton::clicked, this, [this, result]() { finish(result); });
}

void DialogWindow::closeEvent(QCloseEvent* event)
{
    if (m_buttons.contains(ConnUi::Dialog::Cancel))
        finish(ConnUi::Dialog::Cancel);
    else if (m_buttons.contains(ConnUi::Dialog::No))
        finish(ConnUi::Dialog::No);
    else if (m_buttons.size() == 1)
        finish(m_buttons.firstKey());
    else if (m_dialog && m_dialog->isVisible()) {
        // Only positive answers: the window stays until one is given.
        event->ignore();
        return;
    }
    QWidget::closeEvent(event);
}

void DialogWindow::finish(int result)
{
    if (!m_dialog || !m_dialog->isVisible())
        return;
    QString application;
    if (m_applications && m_applications->checkedButton())
        application = m_applications->checkedButton()->property("application").toString();
    const bool direct = m_directAction && m_directAction->isChecked();
    DialogData::answer(m_dialog, result, application, direct);
}

void DialogWindow::buildTagRead()
{
    //% "Open content from the tag?"
    m_title->setText(qtTrId("nfcui_host_tagread_title"));
    const QString kind = m_dialog->property("kind").toString();
    if (kind == QLatin1String("uri")) {
        const QString uri = m_dialog->property("uri").toString();
        const QString title = m_dialog->property("text").toString();
        if (!title.isEmpty())
            addLabel(title, true);
        addLabel(uri);
        if (isCallUri(uri) || uri.startsWith(QLatin1String("sms:"))) {
            m_directAction = new QCheckBox(isCallUri(uri) ?
                                               //% "Call now"
                                               qtTrId("nfcui_host_tagread_call_now") :
                                               //% "Send now"
                                               qtTrId("nfcui_host_tagread_send_now"));
            m_directAction->setChecked(m_dialog->property("directActionSelected").toBool());
            m_content->addWidget(m_directAction);
        }
    } else if (kind == QLatin1String("file")) {
        const QString mimeType = m_dialog->property("mimeType").toString();
        const QString file = m_dialog->property("file").toString();
        //% "File of type %1"
        addLabel(qtTrId("nfcui_host_tagread_file").arg(mimeType), true);
        addLabel(QFileInfo(file).fileName());
        if (mimeType.startsWith(QLatin1String("image/"), Qt::CaseInsensitive)) {
            QImageReader reader(file);
            reader.setAutoTransform(true);
            const QImage image = reader.read();
            if (!image.isNull()) {
                auto* preview = new QLabel;
                preview->setObjectName(QStringLiteral("preview"));
                preview->setPixmap(QPixmap::fromImage(
                    image.scaled(QSize(phoneSize.width() - 48, 320), Qt::KeepAspectRatio, Qt::SmoothTransformation)));
                preview->setAlignment(Qt::AlignCenter);
                m_content->addWidget(preview);
            }
        }
    } else if (kind == QLatin1String("text")) {
        addLabel(m_dialog->property("text").toString());
    } else if (kind == QLatin1String("external")) {
        //% "Data of type %1"
        addLabel(qtTrId("nfcui_host_tagread_external").arg(m_dialog->property("externalType").toString()), true);
        addLabel(m_dialog->property("externalContent").toString());
    } else if (kind == QLatin1String("choice")) {
        //% "Open with"
        addLabel(qtTrId("nfcui_host_tagread_open_with"), true);
        const QStringList choices = m_dialog->property("choices").toStringList();
        const QString selected = m_dialog->property("selectedApplication").toString();
        m_applications = new QButtonGroup(this);
        for (const QString& choice : choices) {
            QString name = choice;
            if (name.endsWith(QLatin1String(".desktop")))
                name.chop(8);
            auto* radio = new QRadioButton(name);
            radio->setProperty("application", choice);
            radio->setChecked(choice == selected);
            radio->setMinimumHeight(40);
            m_applications->addButton(radio);
            m_content->addWidget(radio);
        }
    }
    //% "Open"
    addButton(qtTrId("nfcui_host_button_open"), ConnUi::Dialog::Ok);
    addButton(qtTrId("nfcui_host_button_cancel"), ConnUi::Dialog::Cancel);
}

void DialogWindow::buildPairing()
{
    //% "Pair with this device?"
    m_title->setText(qtTrId("nfcui_host_pairing_title"));
    const uint classOfDevice = m_dialog->property("classOfDevice").toUInt();
    //% "Device class: %1"
    addLabel(qtTrId("nfcui_host_pairing_class").arg(majorDeviceClass(classOfDevice)), true);
    addLabel(QStringLiteral("0x%1").arg(classOfDevice, 6, 16, QLatin1Char('0')));
    //% "Pair"
    addButton(qtTrId("nfcui_host_button_pair"), ConnUi::Dialog::Ok);
    addButton(qtTrId("nfcui_host_button_cancel"), ConnUi::Dialog::Cancel);
}

void DialogWindow::buildSharingPermission()
{
    //% "Share with the touched device?"
    m_title->setText(qtTrId("nfcui_host_sharing_title"));
    const QStringList resources = m_dialog->property("resources").toStringList();
    for (const QString& resource : resources)
        addLabel(resource);
    //% "Share"
    addButton(qtTrId("nfcui_host_button_share"), ConnUi::Dialog::Ok);
    addButton(qtTrId("nfcui_host_button_cancel"), ConnUi::Dialog::Cancel);
}

void DialogWindow::buildSharingSelection()
{
    //% "Choose what to share"
    m_title->setText(qtTrId("nfcui_host_selection_title"));
    switch (m_dialog->property("selectionType").toInt()) {
    case 1:
        //% "Files"
        addLabel(qtTrId("nfcui_host_selection_files"));
        break;
    case 2:
        //% "Contacts"
        addLabel(qtTrId("nfcui_host_selection_contacts"));
        break;
    default:
        //% "Any content"
        addLabel(qtTrId("nfcui_host_selection_any"));
        break;
    }
    addButton(qtTrId("nfcui_host_button_ok"), ConnUi::Dialog::Ok);
    addButton(qtTrId("nfcui_host_button_cancel"), ConnUi::Dialog::Cancel);
}

void DialogWindow::buildTagNotSupported()
{
    if (m_dialog->property("errorType").toInt() == 1) {
        //% "The tag is empty"
        m_title->setText(qtTrId("nfcui_host_error_empty_title"));
        //% "There is nothing on this tag to open."
        addLabel(qtTrId("nfcui_host_error_empty"));
    } else {
        //% "Tag not supported"
        m_title->setText(qtTrId("nfcui_host_error_unsupported_title"));
        //% "The content of this tag cannot be opened on this device."
        addLabel(qtTrId("nfcui_host_error_unsupported"));
    }
    addButton(qtTrId("nfcui_host_button_ok"), ConnUi::Dialog::Ok);
}

void DialogWindow::buildMessageBox()
{
    m_title->setText(m_dialog->property("title").toString());
    addLabel(m_dialog->property("text").toString());
    const int buttons = m_dialog->property("buttons").toInt();
    if (buttons & ConnUi::Dialog::Yes)
        //% "Yes"
        addButton(qtTrId("nfcui_host_button_yes"), ConnUi::Dialog::Yes);
    if (buttons & ConnUi::Dialog::No)
        //% "No"
        addButton(qtTrId("nfcui_host_button_no"), ConnUi::Dialog::No);
    if (buttons & ConnUi::Dialog::Ok)
        addButton(qtTrId("nfcui_host_button_ok"), ConnUi::Dialog::Ok);
    if (buttons & ConnUi::Dialog::Cancel)
        addButton(qtTrId("nfcui_host_button_cancel"), ConnUi::Dialog::Cancel);
    if (m_buttons.isEmpty())
        addButton(qtTrId("nfcui_host_button_ok"), ConnUi::Dialog::Ok);
}

} // namespace Host
