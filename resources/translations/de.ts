<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE">
<context>
    <name>camera</name>
    <message>
        <source>Unknown camera</source>
        <translation>Unbekannte Kamera</translation>
    </message>
</context>
<context>
    <name>MainWindow</name>
    <message>
        <source>Companions</source>
        <translation>Zugehörige Dateien</translation>
    </message>
    <message numerus="yes">
        <source>%n files taken together with the loaded photos were left out: a RAW&apos;s JPEG or HEIC, or a Live Photo&apos;s movie, of the same name in the same folder:
%1

They keep their old time unless they are included.</source>
        <translation>
            <numerusform>%n Datei, die zu den geladenen Fotos gehört, wurde nicht geladen: die JPEG- oder HEIC-Datei eines RAW oder der Film eines Live-Fotos, gleichen Namens im selben Ordner:
%1

Sie behält ihre alte Zeit, wenn sie nicht einbezogen wird.</numerusform>
            <numerusform>%n Dateien, die zu den geladenen Fotos gehören, wurden nicht geladen: die JPEG- oder HEIC-Dateien eines RAW oder die Filme eines Live-Fotos, gleichen Namens im selben Ordner:
%1

Sie behalten ihre alte Zeit, wenn sie nicht einbezogen werden.</numerusform>
        </translation>
    </message>
    <message>
        <source>Include them</source>
        <translation>Einbeziehen</translation>
    </message>
    <message>
        <source>Only the loaded files</source>
        <translation>Nur die geladenen Dateien</translation>
    </message>
    <message numerus="yes">
        <source>The sidecar of %n photos states another recording time than the photo. Both will be moved by the same offset.</source>
        <translation>
            <numerusform>Bei %n Foto nennt die Begleitdatei eine andere Aufnahmezeit als das Foto. Beide werden um denselben Versatz verschoben.</numerusform>
            <numerusform>Bei %n Fotos nennt die Begleitdatei eine andere Aufnahmezeit als das Foto. Beide werden um denselben Versatz verschoben.</numerusform>
        </translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>%1, %2 files/s, %3 left</source>
        <translation>%1, %2 Dateien/s, noch %3</translation>
    </message>
    <message>
        <source>%1 s</source>
        <translation>%1 s</translation>
    </message>
    <message>
        <source>%1 min %2 s</source>
        <translation>%1 min %2 s</translation>
    </message>
    <message>
        <source>%1 h %2 min</source>
        <translation>%1 h %2 min</translation>
    </message>
    <message>
        <source>Same moment</source>
        <translation>Gleicher Moment</translation>
    </message>
    <message>
        <source>Set this camera&apos;s clock from GPS time</source>
        <translation>Uhr dieser Kamera nach GPS-Zeit stellen</translation>
    </message>
    <message>
        <source>%1: %2, from the same moment as %3</source>
        <translation>%1: %2, aus dem gleichen Moment wie %3</translation>
    </message>
    <message numerus="yes">
        <source>%1: %2, from the GPS time of %n photos</source>
        <translation>
            <numerusform>%1: %2, aus der GPS-Zeit von %n Foto</numerusform>
            <numerusform>%1: %2, aus der GPS-Zeit von %n Fotos</numerusform>
        </translation>
    </message>
    <message>
        <source>%1 (moved while ExifTool replaced it; its copy is kept beside it)</source>
        <translation>%1 (verschoben, während ExifTool sie ersetzte; ihre Kopie bleibt daneben erhalten)</translation>
    </message>
    <message>
        <source>ExifTool ended while writing it</source>
        <translation>ExifTool wurde beim Schreiben beendet</translation>
    </message>
    <message>
        <source>an earlier write left %1 behind</source>
        <translation>ein früherer Schreibvorgang hat %1 hinterlassen</translation>
    </message>
    <message>
        <source>the file is gone</source>
        <translation>die Datei ist nicht mehr da</translation>
    </message>
    <message>
        <source>no permission</source>
        <translation>keine Berechtigung</translation>
    </message>
    <message>
        <source>disk full</source>
        <translation>Datenträger voll</translation>
    </message>
    <message>
        <source>%1 (not enough free space for ExifTool&apos;s copy)</source>
        <translation>%1 (nicht genug freier Platz für die Kopie von ExifTool)</translation>
    </message>
    <message numerus="yes">
        <source>The times of %n photos have been changed since the fix, by another program or by hand:
%1

Undo can overwrite those changes with the times from before the fix, or leave these photos as they are now.</source>
        <translation>
            <numerusform>Die Zeiten von %n Foto wurden seit der Korrektur geändert, von einem anderen Programm oder von Hand:
%1

Das Rückgängigmachen kann diese Änderungen mit den Zeiten von vor der Korrektur überschreiben oder diese Fotos lassen, wie sie jetzt sind.</numerusform>
            <numerusform>Die Zeiten von %n Fotos wurden seit der Korrektur geändert, von einem anderen Programm oder von Hand:
%1

Das Rückgängigmachen kann diese Änderungen mit den Zeiten von vor der Korrektur überschreiben oder diese Fotos lassen, wie sie jetzt sind.</numerusform>
        </translation>
    </message>
    <message>
        <source>Overwrite</source>
        <translation>Überschreiben</translation>
    </message>
    <message>
        <source>Leave them</source>
        <translation>So lassen</translation>
    </message>
    <message>
        <source>changed since the fix, left as it is</source>
        <translation>seit der Korrektur geändert, so gelassen</translation>
    </message>
    <message>
        <source>Time zone</source>
        <translation>Zeitzone</translation>
    </message>
    <message>
        <source>The time zone field holds no time zone.
Enter hours from -12 to +14 in whole, half or quarter hours, such as 2, -3.5 or +05:30, or leave the field empty to keep each photo&apos;s own zone.</source>
        <translation>Das Feld für die Zeitzone enthält keine Zeitzone.
Geben Sie Stunden von -12 bis +14 in ganzen, halben oder Viertelstunden ein, etwa 2, -3,5 oder +05:30, oder lassen Sie das Feld leer, damit jedes Foto seine eigene Zeitzone behält.</translation>
    </message>
    <message>
        <source>ExifTool could not write it</source>
        <translation>ExifTool konnte sie nicht schreiben</translation>
    </message>
    <message>
        <source>%1 (nothing to write)</source>
        <translation>%1 (nichts zu schreiben)</translation>
    </message>
    <message>
        <source>Undoing…</source>
        <translation>Wird rückgängig gemacht…</translation>
    </message>
    <message>
        <source>the undo could not write it</source>
        <translation>das Rückgängigmachen konnte sie nicht schreiben</translation>
    </message>
    <message numerus="yes">
        <source>%n files do not have any timezone information set and you have not specified a timezone to use.
If you continue, your computer&apos;s local timezone will be used.

Warning: Adding the timezone to an image can not be undone.</source>
        <translation>
            <numerusform>%n Datei hat keine Zeitzoneninformationen zugeordnet und es wurde keine Zeitzone angegeben.
Wenn Sie fortfahren, wird die Zeitzone Ihres Computers verwendet.

Achtung: Wurde die Zeitzone dem Bild hinzugefügt, kann sie nicht mehr entfernt werden.</numerusform>
            <numerusform>%n Dateien haben keine Zeitzoneninformationen zugeordnet und es wurde keine Zeitzone angegeben.
Wenn Sie fortfahren, wird die Zeitzone Ihres Computers verwendet.

Achtung: Wurde die Zeitzone dem Bild hinzugefügt, kann sie nicht mehr entfernt werden.</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n files would be assigned a recording time before 1 January 1972.
Their metadata holds such a time correctly. Their file-system time may not: a FAT or exFAT memory card holds no date before 1980, and some systems none before 1970. A file time that can&apos;t be set is noted in the log; the photo is fixed all the same.</source>
        <translation>
            <numerusform>%n Datei würde eine Aufnahmezeit vor dem 1. Januar 1972 erhalten.
Ihre Metadaten speichern eine solche Zeit korrekt. Die Zeit im Dateisystem möglicherweise nicht: Eine FAT- oder exFAT-Speicherkarte speichert kein Datum vor 1980, manche Systeme keines vor 1970. Eine Dateizeit, die nicht gesetzt werden kann, wird im Protokoll vermerkt; das Foto wird trotzdem korrigiert.</numerusform>
            <numerusform>%n Dateien würden eine Aufnahmezeit vor dem 1. Januar 1972 erhalten.
Ihre Metadaten speichern eine solche Zeit korrekt. Die Zeit im Dateisystem möglicherweise nicht: Eine FAT- oder exFAT-Speicherkarte speichert kein Datum vor 1980, manche Systeme keines vor 1970. Eine Dateizeit, die nicht gesetzt werden kann, wird im Protokoll vermerkt; das Foto wird trotzdem korrigiert.</numerusform>
        </translation>
    </message>
    <message>
        <source>%v of %m</source>
        <translation>%v von %m</translation>
    </message>
    <message>
        <source>Abort</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>Application language changed</source>
        <translation>Anwendungssprache geändert</translation>
    </message>
    <message>
        <source>Apply changes to the timestamps of the images</source>
        <translation>Änderungen an den Zeitstempeln in die Fotos speichern</translation>
    </message>
    <message>
        <source>Change application settings</source>
        <translation>Anwendungseinstellungen ändern</translation>
    </message>
    <message>
        <source>Change the timestamps of the photos by this value (positive and negative values can be used)</source>
        <translation>Ändert die Zeitstempel der Fotos um den hier angegebenen Wert (positive sowie negative Zahlen sind möglich)</translation>
    </message>
    <message>
        <source>Clear list of loaded images</source>
        <translation>Liste geladener Bilder leeren</translation>
    </message>
    <message>
        <source>Continue</source>
        <translation>Fortfahren</translation>
    </message>
    <message>
        <source>Continue working</source>
        <translation>Weiterarbeiten</translation>
    </message>
    <message>
        <source>Continue?</source>
        <translation>Fortfahren?</translation>
    </message>
    <message>
        <source>Fixing time</source>
        <translation>Ändere Zeitinformationen</translation>
    </message>
    <message>
        <source>Keep changes</source>
        <translation>Behalten</translation>
    </message>
    <message>
        <source>Load images</source>
        <translation>Bilder Laden</translation>
    </message>
    <message>
        <source>Loading files</source>
        <translation>Lade Dateien</translation>
    </message>
    <message>
        <source>Please Wait</source>
        <translation>Bitte Warten</translation>
    </message>
    <message>
        <source>Quit now</source>
        <translation>Anwendung jetzt beenden</translation>
    </message>
    <message>
        <source>Select files</source>
        <translation>Dateien auswählen</translation>
    </message>
    <message>
        <source>Show documentation, shortcuts and usage information</source>
        <translation>Informationen zur Benutzung des Programms anzeigen</translation>
    </message>
    <message>
        <source>Show information about the application</source>
        <translation>Informationen über die Anwendung anzeigen</translation>
    </message>
    <message>
        <source>Supported Files (%1)</source>
        <translation>Unterstützte Dateitypen (%1)</translation>
    </message>
    <message>
        <source>Tavimo</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The application language has been changed.
The application needs to be restarted to use the new language.</source>
        <translation>Die Sprache der Benutzeroberfläche wurde geändert.
Die Anwendung muss neu gestartet werden um die neue Sprache zu verwenden.</translation>
    </message>
    <message numerus="yes">
        <source>The following %n files could not be fixed:
%1

 Do you want to keep the changes in the other files</source>
        <translation>
            <numerusform>Die folgende Datei konnte nicht angepasst werden:
%1

 Möchten Sie die Änderungen in den anderen Dateien behalten</numerusform>
            <numerusform>Die folgenden %n Dateien konnten nicht angepasst werden:
%1

 Möchten Sie die Änderungen in den anderen Dateien behalten</numerusform>
        </translation>
    </message>
    <message>
        <source>The fonts FreeSans and FreeSans Bold, used under the GNU GPL version 3 with the font exception.
https://www.gnu.org/software/freefont/</source>
        <translation>Die Schriften FreeSans und FreeSans Bold, verwendet unter der GNU GPL Version 3 mit der Ausnahme für Schriften.
https://www.gnu.org/software/freefont/</translation>
    </message>
    <message>
        <source>This program reads and writes all metadata with ExifTool by Phil Harvey, used under the terms of Perl itself (Artistic License or GNU GPL).
https://exiftool.org/</source>
        <translation>Dieses Programm liest und schreibt alle Metadaten mit ExifTool von Phil Harvey, verwendet unter den Bedingungen von Perl selbst (Artistic License oder GNU GPL).
https://exiftool.org/</translation>
    </message>
    <message numerus="yes">
        <source>Trying to alter/set timezone of %n CR3 images.
The CR3 format does not support timezone information.
All other values except the timezone will work normally.</source>
        <translation>
            <numerusform>Die Zeitzone von %n Bild im CR3 Format soll hinzugefügt oder angepasst werden.
Das CR3 Format unterstützt jedoch keine Zeitzoneninformationen.
Alle anderen Werte können regulär durch Tavimo geändert werden.</numerusform>
            <numerusform>Die Zeitzone von %n Bildern im CR3 Format soll hinzugefügt oder angepasst werden.
Das CR3 Format unterstützt jedoch keine Zeitzoneninformationen.
Alle anderen Werte können regulär durch Tavimo geändert werden.</numerusform>
        </translation>
    </message>
    <message>
        <source>Undo Changes</source>
        <translation>Rückgängig machen</translation>
    </message>
    <message>
        <source>Undo the last set of timestamp changes</source>
        <translation>Letzte Änderungen an den Zeitstempeln rückgängig machen</translation>
    </message>
    <message>
        <source>ExifTool is still working on %1.
Large files take a while.
If it doesn&apos;t finish, stop it: this file then counts as failed.</source>
        <translation>ExifTool arbeitet noch an %1.
Große Dateien brauchen eine Weile.
Wird es nicht fertig, halten Sie es an: Diese Datei gilt dann als fehlgeschlagen.</translation>
    </message>
    <message>
        <source>Stop</source>
        <translation>Anhalten</translation>
    </message>
    <message>
        <source>Undo</source>
        <translation>Rückgängig</translation>
    </message>
    <message numerus="yes">
        <source>The following %n files could not be restored:
%1

Their old times are kept: press undo again to retry.</source>
        <translation>
            <numerusform>Die folgende Datei konnte nicht wiederhergestellt werden:
%1

Ihre alten Zeiten bleiben erhalten: Drücken Sie erneut auf Rückgängig, um es noch einmal zu versuchen.</numerusform>
            <numerusform>Die folgenden %n Dateien konnten nicht wiederhergestellt werden:
%1

Ihre alten Zeiten bleiben erhalten: Drücken Sie erneut auf Rückgängig, um es noch einmal zu versuchen.</numerusform>
        </translation>
    </message>
    <message>
        <source>%1 has no recording time that an offset could start from.</source>
        <translation>%1 hat keinen Aufnahmezeitpunkt, von dem eine Verschiebung ausgehen könnte.</translation>
    </message>
    <message>
        <source>Not loaded</source>
        <translation>Nicht geladen</translation>
    </message>
    <message>
        <source>Set the correct time of this photo…</source>
        <translation>Richtige Zeit dieses Fotos einstellen…</translation>
    </message>
    <message>
        <source>These names are neither files nor folders, so nothing was loaded from them:

%1</source>
        <translation>Diese Namen sind weder Dateien noch Ordner, daher wurde nichts aus ihnen geladen:

%1</translation>
    </message>
    <message>
        <source>… and %1 more</source>
        <translation>… und %1 weitere</translation>
    </message>
</context>
<context>
    <name>QObject</name>
    <message>
        <source>Application language changed</source>
        <translation>Anwendungssprache geändert</translation>
    </message>
    <message>
        <source>Continue working</source>
        <translation>Weiterarbeiten</translation>
    </message>
    <message>
        <source>Quit now</source>
        <translation>Anwendung jetzt beenden</translation>
    </message>
    <message>
        <source>The application language has been changed.
The application needs to be restarted to use the new language.</source>
        <translation>Die Sprache der Benutzeroberfläche wurde geändert.
Die Anwendung muss neu gestartet werden um die neue Sprache zu verwenden.</translation>
    </message>
</context>
<context>
    <name>cameras_panel</name>
    <message>
        <source>Camera</source>
        <translation>Kamera</translation>
    </message>
    <message>
        <source>First recording</source>
        <translation>Erste Aufnahme</translation>
    </message>
    <message>
        <source>Last recording</source>
        <translation>Letzte Aufnahme</translation>
    </message>
    <message>
        <source>Clock correction</source>
        <translation>Uhrkorrektur</translation>
    </message>
    <message numerus="yes">
        <source>%n files</source>
        <translation>
            <numerusform>%n Datei</numerusform>
            <numerusform>%n Dateien</numerusform>
        </translation>
    </message>
    <message>
        <source>Added to the recording times of this camera&apos;s files, on top of the offset for all files. Negative where its clock ran ahead.</source>
        <translation>Wird zu den Aufnahmezeitpunkten der Dateien dieser Kamera addiert, zusätzlich zur Verschiebung für alle Dateien. Negativ, wenn ihre Uhr vorging.</translation>
    </message>
    <message>
        <source>Clear</source>
        <translation>Zurücksetzen</translation>
    </message>
    <message>
        <source>Sets this camera&apos;s clock correction back to zero.</source>
        <translation>Setzt die Uhrkorrektur dieser Kamera auf null zurück.</translation>
    </message>
    <message numerus="yes">
        <source>GPS: %1, %n photos, spread %2</source>
        <translation>
            <numerusform>GPS: %1, %n Foto, Streuung %2</numerusform>
            <numerusform>GPS: %1, %n Fotos, Streuung %2</numerusform>
        </translation>
    </message>
    <message>
        <source>The correction that the satellite time in this camera&apos;s photos suggests: the median over those photos, and how far they differ from one another. A spread of a few seconds makes it trustworthy.</source>
        <translation>Die Korrektur, die die Satellitenzeit in den Fotos dieser Kamera nahelegt: der Median über diese Fotos und wie weit sie voneinander abweichen. Bei einer Streuung von wenigen Sekunden ist sie verlässlich.</translation>
    </message>
</context>
<context>
    <name>command_line</name>
    <message>
        <source>Corrects the recording times of photos and videos.</source>
        <translation>Korrigiert die Aufnahmezeitpunkte von Fotos und Videos.</translation>
    </message>
    <message>
        <source>FILE|FOLDER</source>
        <translation>DATEI|ORDNER</translation>
    </message>
    <message>
        <source>Photos and videos to load, or folders whose files are loaded (not their subfolders).</source>
        <translation>Zu ladende Fotos und Videos, oder Ordner, deren Dateien geladen werden (ohne ihre Unterordner).</translation>
    </message>
    <message>
        <source>Try &apos;%1 --help&apos; for the options.</source>
        <translation>„%1 --help“ zeigt die Optionen.</translation>
    </message>
    <message>
        <source>[FILE|FOLDER]...</source>
        <translation>[DATEI|ORDNER]...</translation>
    </message>
</context>
<context>
    <name>datetime_format</name>
    <message>
        <source>Change the date display format</source>
        <translation>Datumsanzeigeformat ändern</translation>
    </message>
    <message>
        <source>Change the time display format</source>
        <translation>Zeitanzeigeformat ändern</translation>
    </message>
    <message>
        <source>DD-MM-YYYY</source>
        <translation>TT-MM-JJJJ</translation>
    </message>
    <message>
        <source>DD.MM.YYYY</source>
        <translation>TT.MM.JJJJ</translation>
    </message>
    <message>
        <source>DD/MM/YYYY</source>
        <translation>TT/MM/JJJJ</translation>
    </message>
    <message>
        <source>Date Format</source>
        <translation>Datumsformat</translation>
    </message>
    <message>
        <source>MM/DD/YYYY</source>
        <translation>MM/TT/JJJJ</translation>
    </message>
    <message>
        <source>Time Format</source>
        <translation>Zeitformat</translation>
    </message>
    <message>
        <source>YYYY-MM-DD</source>
        <translation>JJJJ-MM-TT</translation>
    </message>
    <message>
        <source>YYYY.MM.DD</source>
        <translation>JJJJ.MM.TT</translation>
    </message>
    <message>
        <source>YYYY/MM/DD</source>
        <translation>JJJJ/MM/TT</translation>
    </message>
    <message>
        <source>hh:mm</source>
        <translation>Std:Min</translation>
    </message>
    <message>
        <source>hh:mm:ss</source>
        <translation>Std:Min:Sek</translation>
    </message>
</context>
<context>
    <name>dialog_correct_time</name>
    <message>
        <source>Camera time:</source>
        <translation>Zeit der Kamera:</translation>
    </message>
    <message>
        <source>Correct time:</source>
        <translation>Richtige Zeit:</translation>
    </message>
    <message>
        <source>Every photo in the list moves by the same offset. The time zone field stays as it is.</source>
        <translation>Alle Fotos der Liste werden um dieselbe Verschiebung geändert. Das Feld der Zeitzone bleibt, wie es ist.</translation>
    </message>
    <message>
        <source>No offset takes this photo&apos;s time to %1.</source>
        <translation>Keine Verschiebung bringt die Zeit dieses Fotos auf %1.</translation>
    </message>
    <message>
        <source>Set the correct time of this photo</source>
        <translation>Richtige Zeit dieses Fotos einstellen</translation>
    </message>
    <message>
        <source>This computer&apos;s clock skips %1: daylight saving time begins then. Please enter a time outside the skipped hour.</source>
        <translation>Die Uhr dieses Computers überspringt %1, weil dann die Sommerzeit beginnt. Bitte geben Sie eine Zeit außerhalb der übersprungenen Stunde ein.</translation>
    </message>
    <message>
        <source>When was %1 really taken? Enter the true time of this photo, for example the time on the clock it shows.</source>
        <translation>Wann wurde %1 wirklich aufgenommen? Geben Sie die richtige Zeit dieses Fotos ein, zum Beispiel die Zeit der Uhr, die darauf zu sehen ist.</translation>
    </message>
</context>
<context>
    <name>dialog_settings</name>
    <message>
        <source>Language:</source>
        <translation>Sprache:</translation>
    </message>
    <message>
        <source>Settings</source>
        <translation>Einstellungen</translation>
    </message>
</context>
<context>
    <name>main</name>
    <message>
        <source>Tavimo needs a graphical display: none found (DISPLAY and WAYLAND_DISPLAY are unset).</source>
        <translation>Tavimo benötigt eine grafische Anzeige: keine gefunden (DISPLAY und WAYLAND_DISPLAY sind nicht gesetzt).</translation>
    </message>
</context>
<context>
    <name>run_note</name>
    <message>
        <source>%1 and %2 changed.</source>
        <translation>%1 und %2 geändert.</translation>
    </message>
    <message numerus="yes">
        <source>%n photos</source>
        <translation>
            <numerusform>%n Foto</numerusform>
            <numerusform>%n Fotos</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n sidecars</source>
        <translation>
            <numerusform>%n Begleitdatei</numerusform>
            <numerusform>%n Begleitdateien</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n files left as they were.</source>
        <translation>
            <numerusform>%n Datei blieb, wie sie war.</numerusform>
            <numerusform>%n Dateien blieben, wie sie waren.</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n files could not be changed.</source>
        <translation>
            <numerusform>%n Datei konnte nicht geändert werden.</numerusform>
            <numerusform>%n Dateien konnten nicht geändert werden.</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n files could not be restored.</source>
        <translation>
            <numerusform>%n Datei konnte nicht zurückgesetzt werden.</numerusform>
            <numerusform>%n Dateien konnten nicht zurückgesetzt werden.</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n photos changed.</source>
        <translation>
            <numerusform>%n Foto geändert.</numerusform>
            <numerusform>%n Fotos geändert.</numerusform>
        </translation>
    </message>
    <message>
        <source>No photos changed.</source>
        <translation>Keine Fotos geändert.</translation>
    </message>
    <message numerus="yes">
        <source>Undo done: %n photos as before.</source>
        <translation>
            <numerusform>Rückgängig gemacht: %n Foto wie zuvor.</numerusform>
            <numerusform>Rückgängig gemacht: %n Fotos wie zuvor.</numerusform>
        </translation>
    </message>
    <message>
        <source>Undo is possible until Tavimo closes.</source>
        <translation>Rückgängig machen ist möglich, bis Tavimo beendet wird.</translation>
    </message>
</context>
<context>
    <name>table_data_model</name>
    <message numerus="yes">
        <source>%1  +%n XMP</source>
        <translation>
            <numerusform>%1  +%n XMP</numerusform>
            <numerusform>%1  +%n XMP</numerusform>
        </translation>
    </message>
    <message>
        <source>Sidecars, moved with it: %1</source>
        <translation>Begleitdateien, die mit ihm verschoben werden: %1</translation>
    </message>
    <message>
        <source>its sidecar %1: %2</source>
        <translation>seine Begleitdatei %1: %2</translation>
    </message>
    <message>
        <source>Camera</source>
        <translation>Kamera</translation>
    </message>
    <message>
        <source>%1
Not changed: %2</source>
        <translation>%1
Nicht geändert: %2</translation>
    </message>
    <message>
        <source>New Recording Time</source>
        <translation>Neuer Aufnahmezeitpunkt</translation>
    </message>
    <message>
        <source>Photos</source>
        <translation>Foto</translation>
    </message>
    <message>
        <source>Recording Time</source>
        <translation>Aufnahmezeitpunkt</translation>
    </message>
</context>
<context>
    <name>time_adjustment</name>
    <message>
        <source>&quot;%1&quot; is not a time zone. Enter hours from -12 to +14 in whole, half or quarter hours, such as 2, -3.5 or +05:30.</source>
        <translation>„%1“ ist keine Zeitzone. Geben Sie Stunden von -12 bis +14 ein, in ganzen, halben oder Viertelstunden, etwa 2, -3,5 oder +05:30.</translation>
    </message>
    <message>
        <source>Day</source>
        <translation>Tag</translation>
    </message>
    <message>
        <source>Hour</source>
        <translation>Stunde</translation>
    </message>
    <message>
        <source>Minute</source>
        <translation>Minute</translation>
    </message>
    <message>
        <source>Month</source>
        <translation>Monat</translation>
    </message>
    <message>
        <source>Second</source>
        <translation>Sekunde</translation>
    </message>
    <message>
        <source>The time zone of the new times, in hours from UTC, such as 2, -3.5 or +05:30. It is written as it is into every zone a photo states or receives; the clock readings stay as they are. Leave it empty to keep each photo&apos;s own zone.</source>
        <translation>Die Zeitzone der neuen Zeiten, in Stunden gegenüber UTC, etwa 2, -3,5 oder +05:30. Sie wird unverändert in jede Zeitzone geschrieben, die ein Foto angibt oder erhält; die Uhrzeiten bleiben, wie sie sind. Lassen Sie das Feld leer, damit jedes Foto seine eigene Zeitzone behält.</translation>
    </message>
    <message>
        <source>Timezone (h)</source>
        <translation>Zeitzone (Std)</translation>
    </message>
    <message>
        <source>Year</source>
        <translation>Jahr</translation>
    </message>
</context>
<context>
    <name>undo_journal</name>
    <message>
        <source>changed since it was loaded</source>
        <translation>seit dem Laden verändert</translation>
    </message>
    <message>
        <source>%1 (changed since it was loaded)</source>
        <translation>%1 (seit dem Laden verändert)</translation>
    </message>
    <message>
        <source>%1 (its undo information could not be saved)</source>
        <translation>%1 (die Informationen zum Rückgängigmachen konnten nicht gespeichert werden)</translation>
    </message>
    <message>
        <source>%1 (being changed by another copy of Tavimo)</source>
        <translation>%1 (wird gerade von einer anderen Instanz von Tavimo geändert)</translation>
    </message>
    <message>
        <source>%1: as the run left it</source>
        <translation>%1: so, wie der Lauf es hinterlassen hat</translation>
    </message>
    <message>
        <source>%1: changed since the run</source>
        <translation>%1: seit dem Lauf verändert</translation>
    </message>
    <message>
        <source>%1: not written by the run</source>
        <translation>%1: vom Lauf nicht geschrieben</translation>
    </message>
    <message>
        <source>Keep</source>
        <translation>Behalten</translation>
    </message>
    <message numerus="yes">
        <source>… and %n more</source>
        <translation>
            <numerusform>… und %n weiteres</numerusform>
            <numerusform>… und %n weitere</numerusform>
        </translation>
    </message>
    <message>
        <source>Photos of the unfinished run that could not be restored: %1

Their undo information is kept, and the next start offers their undo again.</source>
        <translation>Fotos des unvollständigen Laufs, die nicht zurückgesetzt werden konnten: %1

Ihre Informationen zum Rückgängigmachen bleiben erhalten, und beim nächsten Start wird das Rückgängigmachen erneut angeboten.</translation>
    </message>
    <message>
        <source>Show list</source>
        <translation>Liste anzeigen</translation>
    </message>
    <message>
        <source>Tavimo ended during a fix run.
Photos that run had changed: %1
Photos it had not written yet: %2

Undo gives the changed photos their earlier times back and leaves the others alone; Keep leaves all photos as they are.</source>
        <translation>Tavimo wurde während eines Korrekturlaufs beendet.
Fotos, die dieser Lauf geändert hatte: %1
Fotos, die er noch nicht geschrieben hatte: %2

„Rückgängig“ gibt den geänderten Fotos ihre früheren Zeiten zurück und lässt die anderen unberührt, „Behalten“ lässt alle Fotos, wie sie sind.</translation>
    </message>
    <message>
        <source>Tavimo ended during a fix run.
Photos that run had changed: %1
Photos it had not written yet: %2

Some of them have changed since, so its undo information can&apos;t be applied safely. Keep leaves all photos as they are.</source>
        <translation>Tavimo wurde während eines Korrekturlaufs beendet.
Fotos, die dieser Lauf geändert hatte: %1
Fotos, die er noch nicht geschrieben hatte: %2

Einige davon haben sich seitdem verändert, daher können die Informationen zum Rückgängigmachen nicht sicher angewendet werden. „Behalten“ lässt alle Fotos, wie sie sind.</translation>
    </message>
    <message>
        <source>Tavimo ended during a fix run, and the undo information it left can&apos;t be read, so it can&apos;t be applied safely. Keep leaves all photos as they are.</source>
        <translation>Tavimo wurde während eines Korrekturlaufs beendet, und die hinterlassenen Informationen zum Rückgängigmachen können nicht gelesen werden. Sie können daher nicht sicher angewendet werden. „Behalten“ lässt alle Fotos, wie sie sind.</translation>
    </message>
    <message>
        <source>Undo</source>
        <translation>Rückgängig</translation>
    </message>
    <message>
        <source>Undo information that can&apos;t be read: %1</source>
        <translation>Nicht lesbare Informationen zum Rückgängigmachen: %1</translation>
    </message>
    <message>
        <source>Unfinished fix run</source>
        <translation>Unvollständiger Korrekturlauf</translation>
    </message>
</context>
</TS>
