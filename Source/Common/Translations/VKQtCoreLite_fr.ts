<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="fr_FR" sourcelanguage="en_US">
<context>
    <name>VKQtPathUtils</name>
    <message>
        <source>copy</source>
        <extracomment>In the name of a copied file: "holiday copy.jpg", "holiday copy 2.jpg".</extracomment>
        <translation>copie</translation>
    </message>
</context>
<context>
    <name>Reachability</name>
    <message>
        <source>Cellular</source>
        <extracomment>The kind of connection to the network: a telephone's.</extracomment>
        <translation>Réseau mobile</translation>
    </message>
    <message>
        <source>WiFi</source>
        <extracomment>The kind of connection to the network: any other.</extracomment>
        <translation>Wi-Fi</translation>
    </message>
    <message>
        <source>No Connection</source>
        <extracomment>There is no connection to the network.</extracomment>
        <translation>Aucune connexion</translation>
    </message>
</context>
</TS>
