// Mount tables of many kinds of machines, in the form of /proc/self/mountinfo, for the tests of what is read
// from them. Shortened: of kinds that repeat, a few lines are kept.
#pragma once

namespace MountTexts {

inline constexpr char kDebianDesktop[] =
    R"(22 27 0:21 / /proc rw,nosuid,nodev,noexec,relatime shared:12 - proc proc rw
23 27 0:22 / /sys rw,nosuid,nodev,noexec,relatime shared:7 - sysfs sysfs rw
24 27 0:6 / /dev rw,nosuid,relatime shared:2 - devtmpfs udev rw,size=8101180k,mode=755
25 24 0:23 / /dev/pts rw,nosuid,noexec,relatime shared:3 - devpts devpts rw,gid=5,mode=620,ptmxmode=000
26 27 0:24 / /run rw,nosuid,nodev,noexec,relatime shared:5 - tmpfs tmpfs rw,size=1624984k,mode=755
27 1 259:2 / / rw,relatime shared:1 - ext4 /dev/nvme0n1p2 rw,errors=remount-ro
28 23 0:7 / /sys/kernel/security rw,relatime shared:8 - securityfs securityfs rw
29 23 0:27 / /sys/fs/cgroup rw,relatime shared:9 - cgroup2 cgroup2 rw
32 22 0:30 / /proc/sys/fs/binfmt_misc rw,relatime shared:14 - autofs systemd-1 rw,fd=29,pgrp=1
36 23 0:31 / /sys/fs/fuse/connections rw,relatime shared:20 - fusectl fusectl rw
98 27 259:1 / /boot/efi rw,relatime shared:49 - vfat /dev/nvme0n1p1 rw,fmask=0077
101 27 259:3 / /home rw,relatime shared:51 - ext4 /dev/nvme0n1p3 rw
640 26 0:45 / /run/user/1000 rw,nosuid,nodev,relatime shared:300 - tmpfs tmpfs rw,uid=1000
666 640 0:46 / /run/user/1000/gvfs rw,nosuid,nodev shared:310 - fuse.gvfsd-fuse gvfsd-fuse rw,user_id=1000
670 640 0:47 / /run/user/1000/doc rw,nosuid,nodev shared:320 - fuse.portal portal rw,user_id=1000
700 27 8:17 / /media/anna/EOS_DIGITAL rw,nosuid,nodev shared:330 - vfat /dev/sdb1 rw,uid=1000
)";

inline constexpr char kUbuntuWithSnaps[] = R"(26 1 8:2 / / rw,relatime shared:1 - ext4 /dev/sda2 rw
30 26 0:25 / /run rw,nosuid,nodev shared:5 - tmpfs tmpfs rw,mode=755
90 26 7:0 / /snap/bare/5 ro,nodev,relatime shared:43 - squashfs /dev/loop0 ro
93 26 7:1 / /snap/firefox/2987 ro,nodev,relatime shared:45 - squashfs /dev/loop1 ro
95 26 7:2 / /var/snap/firefox/common/host-hunspell ro shared:47 - squashfs /dev/loop2 ro
99 26 8:1 / /boot rw,relatime shared:49 - ext4 /dev/sda1 rw
102 26 0:40 / /var/lib/lxcfs rw,nosuid,nodev shared:60 - fuse.lxcfs lxcfs rw,user_id=0
120 30 8:33 / /run/media/anna/My\040Card rw,nosuid shared:70 - exfat /dev/sdc1 rw,uid=1000
130 26 7:9 / /mnt/image ro,relatime shared:80 - squashfs /dev/loop9 ro
)";

inline constexpr char kFedoraBtrfs[] =
    R"(60 1 0:33 /root / rw,relatime shared:1 - btrfs /dev/vda3 rw,subvol=/root
75 60 0:33 /home /home rw,relatime shared:40 - btrfs /dev/vda3 rw,subvol=/home
76 60 252:2 / /boot rw,relatime shared:42 - ext4 /dev/vda2 rw
80 60 0:50 /@photos /srv/photos rw,relatime shared:44 - btrfs /dev/vdb rw,subvol=/@photos
81 60 0:50 /@docs /srv/docs rw,relatime shared:45 - btrfs /dev/vdb rw,subvol=/@docs
)";

inline constexpr char kDockerContainer[] =
    R"(500 400 0:60 / / rw,relatime master:200 - overlay overlay rw,lowerdir=/l/A:/l/B,upperdir=/u,workdir=/w
501 500 0:61 / /proc rw,nosuid - proc proc rw
502 500 0:62 / /dev rw,nosuid - tmpfs tmpfs rw,size=65536k
503 502 0:63 / /dev/shm rw,nosuid - tmpfs shm rw,size=65536k
505 500 259:2 /var/lib/docker/containers/4f/resolv.conf /etc/resolv.conf rw - ext4 /dev/nvme0n1p2 rw
506 500 259:2 /var/lib/docker/containers/4f/hosts /etc/hosts rw - ext4 /dev/nvme0n1p2 rw
507 500 259:2 /home/anna/photos /photos rw,relatime - ext4 /dev/nvme0n1p2 rw
508 500 259:2 /home/anna/export /export rw,relatime - ext4 /dev/nvme0n1p2 rw
)";

inline constexpr char kDockerHost[] = R"(27 1 8:1 / / rw,relatime shared:1 - ext4 /dev/sda1 rw
300 27 0:70 / /var/lib/docker/overlay2/ab/merged rw - overlay overlay rw,lowerdir=/x
301 27 0:4 net:[4026532281] /run/docker/netns/8f rw - nsfs nsfs rw
302 27 8:1 /var/lib/docker/volumes /srv/dockervolumes rw - ext4 /dev/sda1 rw
)";

inline constexpr char kWindowsSubsystem[] = R"(70 60 8:32 / / rw,relatime - ext4 /dev/sdc rw,discard
71 70 0:29 / /mnt/wsl rw,relatime shared:1 - tmpfs none rw
72 70 0:30 / /usr/lib/wsl/drivers ro,nosuid - 9p none ro,aname=drivers
74 70 0:28 /init /init ro,relatime - rootfs rootfs rw
75 70 0:40 / /mnt/wslg rw,relatime - tmpfs none rw
76 75 8:32 / /mnt/wslg/distro ro,relatime shared:2 - ext4 /dev/sdc rw
78 75 0:44 / /mnt/wslg/doc rw,relatime - overlay none rw,lowerdir=/x
90 70 0:70 / /mnt/c rw,noatime - 9p C:\134 rw,dirsync,aname=drvfs
)";

inline constexpr char kNetworkClient[] = R"(27 1 8:1 / / rw,relatime shared:1 - ext4 /dev/sda1 rw
40 27 0:35 / /net/pictures rw,relatime shared:20 - autofs systemd-1 rw,fd=41,pgrp=1,timeout=0
41 40 0:50 / /net/pictures rw,relatime shared:21 - nfs4 nas:/export/pictures rw,vers=4.2
42 27 0:36 / /misc rw,relatime shared:22 - autofs /etc/auto.misc rw,fd=5
43 27 0:51 / /mnt/nas rw,relatime shared:23 - cifs //nas/photos rw,vers=3.1.1
44 27 0:52 / /home/anna/remote rw,nosuid,nodev shared:24 - fuse.sshfs anna@nas:/photos rw,user_id=1000
45 27 0:53 / /home/anna/.cache/mount rw,nosuid shared:25 - fuse.sshfs anna@nas:/cache rw
)";

inline constexpr char kOverMounts[] = R"(27 1 8:1 / / rw - ext4 /dev/sda1 rw
30 27 8:2 / /mnt/disk rw - ext4 /dev/sda2 rw
31 30 8:3 / /mnt/disk/inner rw - ext4 /dev/sda3 rw
32 30 8:4 / /mnt/disk rw - xfs /dev/sda4 rw
33 27 8:5 / /mnt/a/b rw - ext4 /dev/sda5 rw
34 27 8:6 / /mnt/a rw - ext4 /dev/sda6 rw
35 27 8:7 / /mnt/gone//deleted rw - ext4 /dev/sda7 rw
36 27 8:8 / /mnt/ab rw - ext4 /dev/sda8 rw
)";

inline constexpr char kBinds[] = R"(27 1 8:1 / / rw - ext4 /dev/sda1 rw
30 27 8:17 /album /mnt/album rw - ext4 /dev/sdb1 rw
31 27 8:17 / /mnt/card rw - ext4 /dev/sdb1 rw
32 27 8:17 / /mnt/again rw - ext4 /dev/sdb1 rw
33 27 8:1 / /mnt/root rw - ext4 /dev/sda1 rw
34 27 8:33 / /boot/data rw - ext4 /dev/sdc1 rw
35 27 8:33 /album /mnt/part rw - ext4 /dev/sdc1 rw
)";

inline constexpr char kLiveSystem[] = R"(27 1 0:25 / / rw,relatime - overlay overlay rw,lowerdir=/filesystem
28 27 0:26 / /run rw - tmpfs tmpfs rw
29 28 8:17 / /run/live/medium ro,noatime - iso9660 /dev/sdb1 ro
30 27 7:0 / /usr/lib/live/mount/rootfs/filesystem.squashfs ro - squashfs /dev/loop0 ro
31 27 11:0 / /media/cdrom0 ro,nosuid - udf /dev/sr0 ro
)";

inline constexpr char kZfs[] = R"(27 1 0:25 / / rw - zfs rpool/ROOT/debian rw,xattr
28 27 0:26 / /var/log rw - zfs rpool/var/log rw
29 27 0:27 / /tank rw - zfs tank rw
30 29 0:28 / /tank/photos rw - zfs tank/photos rw
)";

inline constexpr char kOddNames[] = R"(27 1 8:1 / / rw - ext4 /dev/sda1 rw
30 27 8:17 / /mnt/tab\011line\012back\134slash rw - ext4 /dev/sdb1 rw
31 27 8:18 / /mnt/caf\303\251 rw - ext4 /dev/sdb2 rw
32 27 8:19 / /mnt/hash\043tag rw shared:1 master:2 propagate_from:3 - ext4 /dev/disk/by-label/My\134x20Card rw
33 27 8:20 / /mnt/.hidden rw - ext4 /dev/sdb4 rw
34 27 8:21 / /mnt/.hidden/below rw - ext4 /dev/sdb5 rw
)";

inline constexpr char kPhoneLinux[] = R"(27 1 179:2 / / rw,noatime - ext4 /dev/mmcblk0p2 rw
28 27 179:1 / /boot/firmware rw - vfat /dev/mmcblk0p1 rw
29 27 179:33 / /media/pi/CARD rw - vfat /dev/mmcblk1p1 rw
30 27 0:40 / /tmp rw - tmpfs tmpfs rw
31 30 0:41 / /tmp/.mount_ViewerX ro,nosuid - fuse.Viewer.AppImage Viewer.AppImage ro
)";

} // namespace MountTexts
