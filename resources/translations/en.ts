<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en">
<!-- English is the source language: this catalogue holds only the singular and plural forms of
     the texts with a count, which the source text can give in one form only. -->
<context>
    <name>MainWindow</name>
    <message numerus="yes">
        <source>%n files taken together with the loaded photos were left out: a RAW&apos;s JPEG or HEIC, or a Live Photo&apos;s movie, of the same name in the same folder:
%1

They keep their old time unless they are included.</source>
        <translation>
            <numerusform>%n file taken together with the loaded photos was left out: a RAW&apos;s JPEG or HEIC, or a Live Photo&apos;s movie, of the same name in the same folder:
%1

It keeps its old time unless it is included.</numerusform>
            <numerusform>%n files taken together with the loaded photos were left out: a RAW&apos;s JPEG or HEIC, or a Live Photo&apos;s movie, of the same name in the same folder:
%1

They keep their old time unless they are included.</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>The sidecar of %n photos states another recording time than the photo. Both will be moved by the same offset.</source>
        <translation>
            <numerusform>The sidecar of %n photo states another recording time than the photo. Both will be moved by the same offset.</numerusform>
            <numerusform>The sidecar of %n photos states another recording time than the photo. Both will be moved by the same offset.</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%1: %2, from the GPS time of %n photos</source>
        <translation>
            <numerusform>%1: %2, from the GPS time of %n photo</numerusform>
            <numerusform>%1: %2, from the GPS time of %n photos</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>The times of %n photos have been changed since the fix, by another program or by hand:
%1

Undo can overwrite those changes with the times from before the fix, or leave these photos as they are now.</source>
        <translation>
            <numerusform>The time of %n photo has been changed since the fix, by another program or by hand:
%1

Undo can overwrite those changes with the times from before the fix, or leave this photo as they are now.</numerusform>
            <numerusform>The times of %n photos have been changed since the fix, by another program or by hand:
%1

Undo can overwrite those changes with the times from before the fix, or leave these photos as they are now.</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n files do not have any timezone information set and you have not specified a timezone to use.
If you continue, your computer&apos;s local timezone will be used.

Warning: Adding the timezone to an image can not be undone.</source>
        <translation>
            <numerusform>%n file does not have any timezone information set and you have not specified a timezone to use.
If you continue, your computer&apos;s local timezone will be used.

Warning: Adding the timezone to an image can not be undone.</numerusform>
            <numerusform>%n files do not have any timezone information set and you have not specified a timezone to use.
If you continue, your computer&apos;s local timezone will be used.

Warning: Adding the timezone to an image can not be undone.</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n files would be assigned a recording time before 1 January 1972.
Their metadata holds such a time correctly. Their file-system time may not: a FAT or exFAT memory card holds no date before 1980, and some systems none before 1970. A file time that can&apos;t be set is noted in the log; the photo is fixed all the same.</source>
        <translation>
            <numerusform>%n file would be assigned a recording time before 1 January 1972.
Its metadata holds such a time correctly. Its file-system time may not: a FAT or exFAT memory card holds no date before 1980, and some systems none before 1970. A file time that can&apos;t be set is noted in the log; the photo is fixed all the same.</numerusform>
            <numerusform>%n files would be assigned a recording time before 1 January 1972.
Their metadata holds such a time correctly. Their file-system time may not: a FAT or exFAT memory card holds no date before 1980, and some systems none before 1970. A file time that can&apos;t be set is noted in the log; the photo is fixed all the same.</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>The following %n files could not be fixed:
%1

 Do you want to keep the changes in the other files</source>
        <translation>
            <numerusform>The following file could not be fixed:
%1

 Do you want to keep the changes in the other files</numerusform>
            <numerusform>The following %n files could not be fixed:
%1

 Do you want to keep the changes in the other files</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>The following %n files could not be restored:
%1

Their old times are kept: press undo again to retry.</source>
        <translation>
            <numerusform>The following file could not be restored:
%1

Its old times are kept: press undo again to retry.</numerusform>
            <numerusform>The following %n files could not be restored:
%1

Their old times are kept: press undo again to retry.</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>Trying to alter/set timezone of %n CR3 images.
The CR3 format does not support timezone information.
All other values except the timezone will work normally.</source>
        <translation>
            <numerusform>Trying to alter/set timezone of %n CR3 image.
The CR3 format does not support timezone information.
All other values except the timezone will work normally.</numerusform>
            <numerusform>Trying to alter/set timezone of %n CR3 images.
The CR3 format does not support timezone information.
All other values except the timezone will work normally.</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>cameras_panel</name>
    <message numerus="yes">
        <source>%n files</source>
        <translation>
            <numerusform>%n file</numerusform>
            <numerusform>%n files</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>GPS: %1, %n photos, spread %2</source>
        <translation>
            <numerusform>GPS: %1, %n photo, spread %2</numerusform>
            <numerusform>GPS: %1, %n photos, spread %2</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>run_note</name>
    <message numerus="yes">
        <source>%n photos</source>
        <translation>
            <numerusform>%n photo</numerusform>
            <numerusform>%n photos</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n sidecars</source>
        <translation>
            <numerusform>%n sidecar</numerusform>
            <numerusform>%n sidecars</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n files left as they were.</source>
        <translation>
            <numerusform>%n file left as it was.</numerusform>
            <numerusform>%n files left as they were.</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n files could not be changed.</source>
        <translation>
            <numerusform>%n file could not be changed.</numerusform>
            <numerusform>%n files could not be changed.</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n files could not be restored.</source>
        <translation>
            <numerusform>%n file could not be restored.</numerusform>
            <numerusform>%n files could not be restored.</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n photos changed.</source>
        <translation>
            <numerusform>%n photo changed.</numerusform>
            <numerusform>%n photos changed.</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>Undo done: %n photos as before.</source>
        <translation>
            <numerusform>Undo done: %n photo as before.</numerusform>
            <numerusform>Undo done: %n photos as before.</numerusform>
        </translation>
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
</context>
</TS>
