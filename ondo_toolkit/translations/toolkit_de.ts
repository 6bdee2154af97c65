<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE">
<context>
    <name>QObject</name>
    <message>
        <source>%1 encountered a fatal error and must be terminated:
%2</source>
        <translation>Es ist ein nicht behebbarer Fehler in %1 aufgetreten. Die Anwendung wird jetzt Beendet.
%2</translation>
    </message>
    <message>
        <source>Application language changed</source>
        <translation>Anwendungssprache geändert</translation>
    </message>
    <message>
        <source>Continue working</source>
        <translation>Weiterarbeiten</translation>
    </message>
    <message>
        <source>Fatal error</source>
        <translation>Nicht behebbarer Fehler</translation>
    </message>
    <message>
        <source>Quit now</source>
        <translation>Anwendung jetzt Beenden</translation>
    </message>
    <message>
        <source>The application language has been changed.
The application needs to be restarted to use the new language.</source>
        <translation>Die Sprache der Benutzeroberfläche wurde geändert.
Die Anwendung muss neu gestartet werden um die neue Sprache zu verwenden.</translation>
    </message>
</context>
<context>
    <name>ondo::application_log</name>
    <message>
        <source>Application Log</source>
        <translation>Anwendungsprotokoll</translation>
    </message>
    <message>
        <source>Application logs saved</source>
        <translation>Anwendungsprotokolle gespeichert</translation>
    </message>
    <message>
        <source>Can&apos;t save the application logs to
%1

You might not have write permission or the disk might be full.</source>
        <translation>Die Anwendungsprotokolle konnten nicht nach
%1
geschrieben werden.

Möglicherweise fehlt die Berechtigung dort zu schreiben oder die Festplatte ist voll.</translation>
    </message>
    <message>
        <source>Clear application logs</source>
        <translation>Anwendungsprotokolle leeren</translation>
    </message>
    <message>
        <source>Clear log</source>
        <translation>Leeren</translation>
    </message>
    <message>
        <source>Do you really want to clear the application logs?</source>
        <translation>Möchten Sie die Anwendungsprotokolle wirklich leeren?</translation>
    </message>
    <message>
        <source>Failed to save application logs</source>
        <translation>Anwendungsprotokolle konnten nicht gespeichert werden</translation>
    </message>
    <message>
        <source>Failed to write the complete application logs to
%1

Could only write %2/%3 bytes. The disk might be full.</source>
        <translation>Die Anwendungsprotokolle konnten nicht nach
%1
geschrieben werden.

Es konnten nur %2 von %3 Zeichen geschrieben weden. Möglicherweise ist die Festplatte voll.</translation>
    </message>
    <message>
        <source>Network report</source>
        <translation>Netzwerkbericht</translation>
    </message>
    <message>
        <source>Save to disk</source>
        <translation>Speichern</translation>
    </message>
    <message>
        <source>The application logs were saved to
%1</source>
        <translation>Die Anwendungsprotokolle wurden gespeichert unter:
%1</translation>
    </message>
</context>
<context>
    <name>ondo::dialog_3rd_part_lib_info</name>
    <message>
        <source>%1 uses the following open source and/or 3rd party libraries:</source>
        <translation>Die Folgenden Open Source Bibliotheken und/oder Bibliotheken von Drittanbietern werden in %1 verwendet:</translation>
    </message>
    <message>
        <source>About 3rd party libraries</source>
        <translation>Über Open Source/Drittanbieter Programmbibliotheken</translation>
    </message>
    <message>
        <source>This software links dynamically to the Qt toolkit, used under the GNU Lesser General Public License (LGPL) version 3.
The source code of Qt is available at https://download.qt.io/ and from the source packages of your distribution.</source>
        <translation>Diese Software ist dynamisch mit dem Qt-Toolkit gelinkt, das unter der GNU Lesser General Public License (LGPL) Version 3 verwendet wird.
Der Quelltext von Qt ist unter https://download.qt.io/ und in den Quellpaketen Ihrer Distribution erhältlich.</translation>
    </message>
</context>
<context>
    <name>ondo::dialog_about</name>
    <message>
        <source>About</source>
        <translation>Über</translation>
    </message>
    <message>
        <source>Click here for 3rd party library information</source>
        <translation>Klicken Sie hier, um Informationen über Bibliotheken von Drittanbietern zu erhalten</translation>
    </message>
    <message>
        <source>Copyright © 2013-%1 The %2 developers (%3)</source>
        <translation>Copyright © 2013-%1 Die Entwickler von %2 (%3)</translation>
    </message>
    <message>
        <source>FreeImage is an open source image library, used under the FreeImage Public License (FIPL).
https://freeimage.sourceforge.io/</source>
        <translation>FreeImage ist eine Open-Source-Bildbibliothek, verwendet unter der FreeImage Public License (FIPL).
https://freeimage.sourceforge.io/</translation>
    </message>
    <message>
        <source>Little CMS is an open source colour management library, used under the MIT License.
https://www.littlecms.com/</source>
        <translation>Little CMS ist eine Open-Source-Bibliothek für Farbmanagement, verwendet unter der MIT-Lizenz.
https://www.littlecms.com/</translation>
    </message>
    <message>
        <source>This software uses ExifTool by Phil Harvey, under the terms of Perl (Artistic License or GPL).
https://exiftool.org/</source>
        <translation>Diese Software verwendet ExifTool von Phil Harvey, unter den Bedingungen von Perl (Artistic License oder GPL).
https://exiftool.org/</translation>
    </message>
    <message>
        <source>Version:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Website:</source>
        <translation>Webseite:</translation>
    </message>
</context>
</TS>
