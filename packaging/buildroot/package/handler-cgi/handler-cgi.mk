################################################################################
#
# handler-cgi
#
# This folder's external tree is part of a checkout: make BR2_EXTERNAL=CHECKOUT/packaging/buildroot, Buildroot 2023.08
# or later. script/build in the checkout makes the console (build/console); without it the program comes alone.
#
################################################################################

HANDLER_CGI_VERSION = 0.1.0
HANDLER_CGI_SITE = $(BR2_EXTERNAL_HANDLER_PATH)/../..
HANDLER_CGI_SITE_METHOD = local
HANDLER_CGI_OVERRIDE_SRCDIR_RSYNC_EXCLUSIONS = \
	--include=/build/console --exclude=/build/* --exclude=node_modules
HANDLER_CGI_LICENSE = Proprietary
HANDLER_CGI_REDISTRIBUTE = NO
HANDLER_CGI_CONF_OPTS = -DBUILD_TESTING=OFF -DHANDLER_STATIC=OFF -DHANDLER_WERROR=OFF
HANDLER_CGI_BUILD_OPTS = --target handler.cgi

# The build's own install rules are not used: the unit wants two places and nothing else.
define HANDLER_CGI_INSTALL_TARGET_CMDS
	$(INSTALL) -D -m 0755 $(@D)/handler.cgi $(TARGET_DIR)/www/cgi-bin/handler.cgi
	if [ -d $(@D)/build/console ]; then cp -R $(@D)/build/console/. $(TARGET_DIR)/www/; fi
endef

$(eval $(cmake-package))
